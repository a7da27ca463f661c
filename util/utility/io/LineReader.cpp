// Out-of-line destructor of LineReader, so that its type information lives in the library.
#include "util/utility/io/LineReader.h"

namespace Quarn {

LineReader::~LineReader() = default;

} // namespace Quarn
