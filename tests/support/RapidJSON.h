// RapidJSON, the tests' independent JSON parser, included for the sanitizer build too.
#pragma once

// RapidJSON 1.1 offsets a null pointer when its parse stack first grows, which the sanitizer
// build reports; that is the parser's own, harmless on every platform we build for.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif
