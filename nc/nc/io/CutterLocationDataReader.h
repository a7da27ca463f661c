// Reader that checks cutter location data files and replays their records as NC stream events.
#pragma once

#include "nc/nc/NCReader.h"

#include <cstdint>
#include <string>

namespace Quarn {

class BufferedInputStream;

// Replays the records that CutterLocationDataWriter writes (its header documents every layout), in
// either byte order: the length of the header's URI, a number known in advance, tells which one
// the file's numbers are in, and the parameter "cld:byte-order" that follows the version record
// must name the same. import checks the header and its two parameters (they belong to onOpen and
// are not sent), calls onOpen, sends one event per record with numbers widened back to doubles,
// and calls onClose at the end of the input; it returns the answer of onClose.
//
//   10, 13, 14, 15     parameters, through CutterLocationDataDescription: the runs the writer
//                      makes of a context and a tool come back as one onContext or onTool, other
//                      text and float parameters as they are, a vector as a Point3D parameter, a
//                      matrix as the text of its nine elements
//   11, 12, 18         onParameter with a wide text, an int, a Point3D
//   30, 31             onSection, onSectionEnd
//   100                onLinear(end, 0.0, 0): the file cannot tell a rapid from a linear move
//   110-113            onCCWArc, onCWArc, onCCWCircle, onCWCircle(center, end, normal, 0.0, 0)
//   114                onCircular(center, end, normal, sweep, 0.0, 0)
//   120                onLinear5D(end, axis, 0.0, NCStream::FLAG_ABSOLUTE_DIRECTION)
// Parameters held as part of a run are sent before any other record's event, and before onClose.
//
// Stopping: the abort source (getAbortable) is polled before every record; when it is aborted,
// import returns false without sending more. A false from the target stream ends the replay at
// once and import returns false (onClose is not sent).
//
// Malformed input throws IOException carrying the byte offset of the record at fault (0 for the
// header's URI), before anything of that record is sent:
//   "Not a cutter location data file."           the header's URI is not this format's, in
//                                                length (in either byte order) or in bytes
//   "Truncated header."                          the input ends inside the URI or the version
//   "Missing version record."                    no record 1 after the URI
//   "Unsupported version 2.0.0."                 a major version other than 1
//   "Missing namespace parameter \"xmlns:cld\"."   the record after the version record is not
//                                                the text parameter of that name
//   "Parameter \"xmlns:cld\" does not name this format."   its value is not the format URI
//   "Missing byte order parameter \"cld:byte-order\"."     the record after it is not the text
//                                                parameter of that name
//   "Unknown byte order \"xy\"."                  a value other than "le" and "be"
//   "Byte order \"be\" does not match the file's numbers."
//   "Truncated record code: 2 bytes left."       fewer than four bytes where a record starts
//   "Truncated record 100: needs 12 bytes, 7 left."  a field cut short
//   "Unknown record code 77."
//   "Version record 1 after the header."
//   "String too long."                           more than 65536 units: stricter than the
//                                                writer, which takes up to 131072
//   "String length 300 exceeds the 12 bytes left." (and "Wide string length ...")
// Every length is checked against the bytes left before anything is read or allocated for it; the
// frequent moves are read only when whole in the buffer, and otherwise checked like any record.
// When the source cannot tell its size (a pipe), the checks against the end cannot be made: the
// reads then stop at the end of the data with the byte stream's "Unexpected end of stream." at
// the offset of the missing field, and no allocation is sized beyond the format's string limit.
//
// The input is read in blocks of 256 KiB. An input of more than 1 MiB, or of unknown size, is
// read four blocks ahead on a second thread, so that copying the file out of the system's cache
// overlaps the replay; the stream given to import must not be used by anything else until import
// returns. Every event is sent on the thread that calls import. The frequent moves are decoded
// straight from the block, a run of moves of one kind at a time, by a decoder made for the file's
// byte order.
class QUARN_NC_EXPORT CutterLocationDataReader final : public NCReader {
public:
    // Each number is one byte of the version record.
    struct Version {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        std::uint32_t build = 0;
        friend bool operator==(Version const&, Version const&) = default;
    };

    CutterLocationDataReader() = default;
    ~CutterLocationDataReader() override;

    std::wstring getUri() const override;

    using NCReader::import;
    bool import(InputStream* stream) override;

    // True when the file starts with this format's URI (in either byte order) and a version
    // record of major version 1; never throws.
    bool isValid(std::wstring const& fileName) override;
    // The file's version; {0, 0, 0} when it cannot be read or its header is not of this format.
    static Version getVersion(std::wstring const& fileName);

    bool isIntermediateFormat() const override;

private:
    struct Header {
        Version version;
        bool bigEndian = false;
    };
    static Header readHeader(BufferedInputStream& in);
};

} // namespace Quarn
