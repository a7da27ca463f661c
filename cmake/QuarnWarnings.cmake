# Warning flags shared by every target of the project.
function(quarn_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
endfunction()
