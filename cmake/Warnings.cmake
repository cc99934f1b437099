# The warnings of the tree, in one place. Packages' headers come in as system headers and stay quiet.

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # clang up to 14 takes the 0 of a defaulted operator<=> for a pointer.
  add_compile_options(-Wzero-as-null-pointer-constant)
else()
  # RapidJSON's iterators compare as C++11 wrote it; the remark is made where they are compared.
  add_compile_options(-Wno-ambiguous-reversed-operator)
endif()
if(KORVO_WERROR)
  add_compile_options(-Werror)
endif()
