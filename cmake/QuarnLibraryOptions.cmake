# Compile settings shared by the library and the utility layer whose objects it contains.
if(BUILD_SHARED_LIBS)
  set(QUARN_NC_LIBRARY_TYPE SHARED)
else()
  set(QUARN_NC_LIBRARY_TYPE STATIC)
endif()

function(quarn_library_options target)
  # Only classes marked QUARN_NC_EXPORT leave the shared library. A static library marks
  # nothing (QUARN_NC_STATIC), so a shared library that links it does not re-export it.
  target_compile_definitions(${target} PRIVATE QUARN_NC_BUILDING)
  if(QUARN_NC_LIBRARY_TYPE STREQUAL STATIC)
    target_compile_definitions(${target} PUBLIC QUARN_NC_STATIC)
  else()
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # Calls inside the library go straight to its own functions, which may then be inlined,
  # instead of through the PLT in case a preloaded library replaces them.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  target_compile_features(${target} PUBLIC cxx_std_20)
  quarn_set_warnings(${target})
endfunction()
