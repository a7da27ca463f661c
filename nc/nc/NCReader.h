// Base of every NC program reader: replays a file as events into a target stream.
#pragma once

#include "util/utility/AbortableImpl.h"
#include "util/utility/Export.h"

#include <string>

namespace Quarn {

class InputStream;
class LineReader;
class NCStream;
class SequentialLineReader;

// The target stream and the abort source are not owned. Readers poll the abort source between
// records; an import stopped by it, or by a false from the target, returns false. Malformed
// input throws (IOException, NCParseException).
class QUARN_NC_EXPORT NCReader : public AbortableImpl {
public:
    NCReader() = default;
    ~NCReader() override;

    // The URI that names the format.
    virtual std::wstring getUri() const = 0;

    // Text readers override the line-reader forms; binary readers the InputStream form. The
    // file-name form opens the file and calls the InputStream form, which by default reads the
    // stream as lines.
    virtual bool import(SequentialLineReader& reader);
    virtual bool import(std::wstring const& fileName);
    virtual bool import(InputStream* stream);
    virtual bool import(LineReader* reader);

    // Whether the file is of this reader's format and version; never throws.
    virtual bool isValid(std::wstring const& fileName) = 0;
    // An intermediate format records a toolpath before post-processing.
    virtual bool isIntermediateFormat() const;

    void setNCStream(NCStream* stream) noexcept { target = stream; }
    NCStream* getNCStream() const noexcept { return target; }
    // The abort source to poll; this reader itself when none is set.
    void setAbortable(Abortable* abortable) noexcept { abortSource = abortable; }
    Abortable* getAbortable() noexcept { return abortSource != nullptr ? abortSource : this; }
    void setPassOnComments(bool pass) noexcept { passOnComments = pass; }
    bool getPassOnComments() const noexcept { return passOnComments; }
    void setPassThroughLineNumbers(bool pass) noexcept { passThroughLineNumbers = pass; }
    bool getPassThroughLineNumbers() const noexcept { return passThroughLineNumbers; }

protected:
    NCReader(NCReader const&) = default;
    NCReader& operator=(NCReader const&) = default;

private:
    NCStream* target = nullptr;
    Abortable* abortSource = nullptr;
    bool passOnComments = false;
    bool passThroughLineNumbers = false;
};

} // namespace Quarn
