// The one export macro: marks the public classes and functions of libQuarnNC10.so.
#pragma once

#if defined(_WIN32)
#  if defined(QUARN_NC_BUILDING)
#    define QUARN_NC_EXPORT __declspec(dllexport)
#  else
#    define QUARN_NC_EXPORT __declspec(dllimport)
#  endif
#else
#  define QUARN_NC_EXPORT __attribute__((visibility("default")))
#endif
