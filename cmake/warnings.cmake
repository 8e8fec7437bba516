# cfwk_warnings(target): the warnings every target of ours compiles with. Generated code does not call it.
function(cfwk_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror
    # g++ 12 sees overlaps inside std::string that are not there once it optimises.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endfunction()

if(CFWK_SANITIZE)
  add_compile_options(-fsanitize=${CFWK_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CFWK_SANITIZE})
endif()
