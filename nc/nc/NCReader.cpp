// Default import paths of NCReader: a file becomes a stream, a stream becomes lines.
#include "nc/nc/NCReader.h"

#include "util/utility/NotSupportedException.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/SequentialLineReader.h"

namespace Quarn {

NCReader::~NCReader() = default;

bool NCReader::import(SequentialLineReader& reader) { return import(static_cast<LineReader*>(&reader)); }

bool NCReader::import(std::wstring const& fileName)
{
    FileInputStream file(fileName);
    return import(&file);
}

bool NCReader::import(InputStream* stream)
{
    SequentialLineReader lines(stream);
    return import(lines);
}

bool NCReader::import(LineReader*) { throw NotSupportedException(L"This reader does not read text input."); }

bool NCReader::isIntermediateFormat() const { return false; }

} // namespace Quarn
