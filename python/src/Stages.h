// The stages of a chain that the library provides, as run() links and drives them: filters that
// keep their results after the run, and the writer of any writable format.
#pragma once

#include "python/src/Bindings.h"

#include "nc/nc/NCStream.h"

#include <string>

namespace Quarn::Python {

// A stage object of the module. run() calls start, reads the program, then calls finish, or
// abandon when the run failed; an object takes part in one run at a time. Results are read from
// the stage's filter after the run, and what was gathered stays readable after a failed run.
class Stage {
public:
    Stage() = default;
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    virtual ~Stage();

    // With the GIL, before the program is read: the stage starts afresh, sending on to next, and
    // returns the stream that the stage before it sends to. input is the program's path.
    virtual NCStream& start(NCStream& next, std::string const& input) = 0;
    // Without the GIL, once the reader has returned; completed is false when a stage stopped the
    // program. Completes an output; throws Tool::ToolError as the tool fails.
    virtual void finish(bool completed, std::string const& input);
    // With the GIL, when the run failed: gives up an output half-written.
    virtual void abandon() noexcept;
    // A stage that has nothing to pass on to and must end the chain.
    virtual bool isSink() const noexcept { return false; }

    // Set while a run uses the stage; read and written with the GIL. The results of a stage in use
    // are refused, since the run changes them without the GIL.
    bool busy = false;
};

// The path of a str or os.PathLike argument.
std::string pathOf(py::handle path);

// Adds quarnnc.Stage, Transform, Mirror, Validate, ABCRanges, BoundingBox, Analyze, Writer and
// the classes of their results (Finding, ABC, Box, Figures, Conversion) to the module.
void bindStages(py::module_& module);

} // namespace Quarn::Python
