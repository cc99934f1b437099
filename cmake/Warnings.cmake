# The warnings of the tree, in one place. Packages' headers come in as system headers and stay quiet.

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor)
if(KORVO_WERROR)
  add_compile_options(-Werror)
endif()
