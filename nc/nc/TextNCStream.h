// Terminal receiver that prints the machine-axis events to a character stream.
#pragma once

#include "nc/nc/NCStreamDefaultImpl.h"

#include <ostream>

namespace Quarn {

// "onMachineAxisOrdering "X" "Y"" and "onMachineAxisValues 1 2.5", one line each; both answer
// false once the output stream has failed. Every other event prints nothing and answers the
// default result. The output stream is not owned.
class QUARN_NC_EXPORT TextNCStream : public NCStreamDefaultImpl {
public:
    explicit TextNCStream(std::ostream* stream);
    ~TextNCStream() override;

    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;

private:
    std::ostream* stream;
};

} // namespace Quarn
