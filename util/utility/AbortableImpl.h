// Abortable with a flag that any thread may set; the polling thread sees it at its next check.
#pragma once

#include "util/utility/Abortable.h"

#include <atomic>

namespace Quarn {

class QUARN_NC_EXPORT AbortableImpl : public Abortable {
public:
    AbortableImpl() noexcept = default;
    AbortableImpl(AbortableImpl const& other) noexcept : aborted(other.aborted.load()) {}
    AbortableImpl& operator=(AbortableImpl const& other) noexcept
    {
        aborted.store(other.aborted.load());
        return *this;
    }
    ~AbortableImpl() override;

    bool isAborted() const noexcept override { return aborted.load(std::memory_order_relaxed); }
    void abort() noexcept { aborted.store(true, std::memory_order_relaxed); }

private:
    std::atomic<bool> aborted{false};
};

} // namespace Quarn
