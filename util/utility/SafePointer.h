// Non-owning pointer that checks every use: an empty one reports "object" and throws.
#pragma once

#include "util/utility/Debug.h"
#include "util/utility/NullPointerException.h"

namespace Quarn {

template <class T>
class SafePointer {
public:
    SafePointer() noexcept = default;
    SafePointer(T* object) noexcept : object(object) {} // NOLINT: implicit by design

    T* get() const noexcept { return object; }
    bool isNull() const noexcept { return object == nullptr; }
    explicit operator bool() const noexcept { return object != nullptr; }

    T* operator->() const { return checked(); }
    T& operator*() const { return *checked(); }

    friend bool operator==(SafePointer const& a, SafePointer const& b) noexcept { return a.object == b.object; }

private:
    T* checked() const
    {
        if (object == nullptr) [[unlikely]]
            fail();
        return object;
    }

    [[noreturn]] void fail() const
    {
        QUARN_ASSERT(object);
        throw NullPointerException();
    }

    T* object = nullptr;
};

} // namespace Quarn
