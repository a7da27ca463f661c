// A receiver that accepts every event with one configurable answer: the base of streams that
// care for a few events only.
#pragma once

#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"

namespace Quarn {

// Every event returns `result` (true unless set otherwise), except onBezier and onNURBS, which
// always return true; the kinded onParameter and the four-vector five-axis moves keep the base
// behaviour, so they reach the plain forms.
class QUARN_NC_EXPORT NCStreamDefaultImpl : public NCStream {
public:
    explicit NCStreamDefaultImpl(bool result = true) noexcept : result(result) { }
    ~NCStreamDefaultImpl() override;

    bool getResult() const noexcept { return result; }
    void setResult(bool newResult) noexcept { result = newResult; }

    using NCStream::onLinear5D;
    using NCStream::onParameter;
    using NCStream::onRapid5D;

#define QUARN_NC_MOVE_REDUCIBLE(name, parameters, arguments)
#include "nc/nc/NCEventOverrides.inc"

protected:
    bool result;

private:
    constexpr bool answer(NCEvent event) const noexcept
    {
        return event == NCEvent::onBezier || event == NCEvent::onNURBS || result;
    }
};

} // namespace Quarn
