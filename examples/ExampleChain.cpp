// Builds a filter chain in code and writes the event log of the example part program:
//   program -> FilterNCStreamByRemovingNamedParams -> RemoveDuplicateRapidsNCStream
//           -> LogNCStream -> sink
// Usage: quarn-example-chain [LOGFILE]   (default: example.log)
#include "examples/ExampleProgram.h"

#include "nc/nc/FilterNCStreamByRemovingNamedParams.h"
#include "nc/nc/LogNCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/RemoveDuplicateRapidsNCStream.h"
#include "util/utility/RuntimeException.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    using namespace Quarn;
    std::string const logFile = argc > 1 ? argv[1] : "example.log";
    try {
        NCStreamDefaultImpl sink;
        LogNCStream log(&sink);
        if (!log.open(Unicode::fromUTF8(logFile))) {
            std::fprintf(stderr, "quarn-example-chain: cannot open %s\n", logFile.c_str());
            return 1;
        }
        RemoveDuplicateRapidsNCStream rapids(&log);
        // The operation names are for people; the log keeps the machine-relevant events.
        FilterNCStreamByRemovingNamedParams params(
            &rapids, {NCStream::DEFAULT_PARAMETER_NAMESPACE.getNarrow() + "/operation"});
        if (!Examples::sendExampleProgram(params)) {
            std::fprintf(stderr, "quarn-example-chain: the chain stopped the program\n");
            return 1;
        }
        std::printf("wrote %s\n", logFile.c_str());
        return 0;
    } catch (RuntimeException const& e) {
        std::fprintf(stderr, "quarn-example-chain: %s\n", e.what());
        return 1;
    }
}
