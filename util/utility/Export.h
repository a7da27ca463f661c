// The one export macro: marks the public classes and functions of libQuarnNC10.so. A static
// library (QUARN_NC_STATIC, set by its CMake target) marks nothing, so that a shared library
// linking it does not export its classes.
#pragma once

#if defined(QUARN_NC_STATIC)
#  define QUARN_NC_EXPORT
#elif defined(_WIN32)
#  if defined(QUARN_NC_BUILDING)
#    define QUARN_NC_EXPORT __declspec(dllexport)
#  else
#    define QUARN_NC_EXPORT __declspec(dllimport)
#  endif
#else
#  define QUARN_NC_EXPORT __attribute__((visibility("default")))
#endif
