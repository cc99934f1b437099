// fmt's bodies, compiled once for the tree: as header-only code they cost every source that formats
// a text some two seconds. Other templates are instantiated where they are used.

#ifdef FMT_HEADER_ONLY
#error "with FMT_HEADER_ONLY every source has these bodies"
#endif

#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API auto dragonbox::to_decimal(float x) noexcept -> dragonbox::decimal_fp<float>;
template FMT_API auto dragonbox::to_decimal(double x) noexcept -> dragonbox::decimal_fp<double>;

template FMT_API locale_ref::locale_ref(const std::locale& locale);
template FMT_API auto locale_ref::get<std::locale>() const -> std::locale;

template FMT_API auto thousands_sep_impl(locale_ref) -> thousands_sep_result<char>;
template FMT_API auto decimal_point_impl(locale_ref) -> char;
template FMT_API void buffer<char>::append(const char* first, const char* last);
template FMT_API void vformat_to(buffer<char>& out, string_view format, vformat_args<>::type args,
                                 locale_ref locale);

template FMT_API auto thousands_sep_impl(locale_ref) -> thousands_sep_result<wchar_t>;
template FMT_API auto decimal_point_impl(locale_ref) -> wchar_t;
template FMT_API void buffer<wchar_t>::append(const wchar_t* first, const wchar_t* last);

}  // namespace detail
FMT_END_NAMESPACE
