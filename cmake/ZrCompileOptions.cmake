# The flags that every target of this project is built with: zr_compile_options(TARGET).
function(zr_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(PROJECT_IS_TOP_LEVEL)  # somebody else's compiler may know warnings that ours does not
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZR_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ZR_SANITIZE})
  endif()
endfunction()
