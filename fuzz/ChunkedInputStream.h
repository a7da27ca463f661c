// Reading fuzz input in short pieces, and the check that it reads the same as in one piece.
#pragma once

#include "util/utility/IOException.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/MemoryInputStream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace Quarn::Fuzz {

// Gives its bytes in reads of at most chunk bytes.
class ChunkedInputStream final : public InputStream {
public:
    ChunkedInputStream(void const* data, std::size_t size, std::size_t chunk)
        : data(static_cast<unsigned char const*>(data)), size(size), chunk(chunk)
    {
    }
    std::size_t read(void* buffer, std::size_t count) override
    {
        count = std::min({count, chunk, size - position});
        std::memcpy(buffer, data + position, count);
        position += count;
        return count;
    }
    std::uint64_t getPosition() const override { return position; }
    std::optional<std::uint64_t> getSize() const override { return size; }

private:
    unsigned char const* data;
    std::size_t size;
    std::size_t chunk;
    std::size_t position = 0;
};

// What a read gives: its result, or the error it throws and where.
template <class Result> struct Outcome {
    std::optional<Result> result;
    std::wstring error;
    std::optional<std::uint64_t> offset;
    bool operator==(Outcome const&) const = default;
};

template <class Read> auto outcomeOf(Read read, InputStream& in) -> Outcome<decltype(read(in))>
{
    try {
        return {read(in), {}, {}};
    } catch (IOException const& e) {
        return {std::nullopt, e.getMessage(), e.getOffset()};
    }
}

// Reads the bytes in one piece with read, then in short pieces with readInPieces, so that what is
// read straddles every block of a reader's buffer; aborts unless both give the same result or
// throw the same error. Returns the result, or nothing where the read threw.
template <class Read, class ReadInPieces>
auto readWholeAndInPieces(void const* data, std::size_t size, Read read, ReadInPieces readInPieces)
{
    MemoryInputStream whole(data, size);
    auto first = outcomeOf(read, whole);
    ChunkedInputStream pieces(data, size, 1 + size % 61);
    if (outcomeOf(readInPieces, pieces) != first)
        std::abort();
    return std::move(first.result);
}

} // namespace Quarn::Fuzz
