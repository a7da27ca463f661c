// Debug assertions checked only in test mode, their capture by tests, and the debugger stop.
#pragma once

#include "util/utility/Export.h"

#include <functional>
#include <string>

namespace Quarn {

// A failed precondition: the condition text, the source as a repository path without
// extension ("nc/nc/machinedata/AxisOrdering") and the line.
struct AssertionReport {
    std::string text;
    std::string file;
    int line = 0;
};

class QUARN_NC_EXPORT Debug {
public:
    using Handler = std::function<void(AssertionReport const&)>;

    // Preconditions are evaluated only while test mode is on; release code goes on regardless.
    static bool isTesting() noexcept;
    static void setTesting(bool testing) noexcept;

    // Reports a failed assertion to the installed handler (stderr when none is installed).
    // Never throws on its own; a handler may.
    static void failTestForAssert(char const* text, char const* file, int line);

    // Installs a handler and returns the previous one; an empty handler restores stderr.
    static Handler setHandler(Handler handler);

    // Repository-relative source name without extension: "a/b/util/utility/X.h" -> "util/utility/X".
    static std::string sourceName(char const* file);

    // Stops in an attached debugger; does nothing when no debugger is attached.
    static void breakpoint() noexcept;
};

} // namespace Quarn

#define QUARN_ASSERT(condition)                                                        \
    do {                                                                               \
        if (::Quarn::Debug::isTesting() && !(condition))                               \
            ::Quarn::Debug::failTestForAssert(#condition, __FILE__, __LINE__);         \
    } while (false)

#define QUARN_EXPECTS(condition)                                                       \
    do {                                                                               \
        if (::Quarn::Debug::isTesting() && !(condition))                               \
            ::Quarn::Debug::failTestForAssert("EXPECTS:" #condition, __FILE__, __LINE__); \
    } while (false)
