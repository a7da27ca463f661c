// Sink of bytes: the abstract base of files, memory and buffers written by the writers.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>

namespace Quarn {

class QUARN_NC_EXPORT OutputStream {
public:
    virtual ~OutputStream();

    // Writes all size bytes or throws IOException.
    virtual void write(void const* data, std::size_t size) = 0;
    // Pushes buffered bytes towards their destination; does nothing by default.
    virtual void flush();
    // Flushes and releases the destination; by default only flushes.
    virtual void close();
    // False once the stream was closed; always true by default.
    virtual bool isOpen() const;

protected:
    OutputStream() = default;
    OutputStream(OutputStream const&) = default;
    OutputStream& operator=(OutputStream const&) = default;
};

} // namespace Quarn
