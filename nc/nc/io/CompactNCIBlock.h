// Fields of compact NCI records encoded and decoded at byte offsets, so that the writer and the
// reader state the same layout with the same offsets: in place in a buffer, or in a fixed-size
// block of a record.
#pragma once

#include "nc/nc/io/CompactNCIImpl.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <cstddef>
#include <cstdint>

namespace Quarn {

// Decodes fields at byte offsets in place: those of a CompactNCIBlock, or a record straight in a
// reader's buffer. Vectors are three floats x, y, z; matrices are their columns (right, up,
// forward) as three such vectors.
struct CompactNCIView {
    unsigned char const* bytes;

    std::uint32_t getUInt32(std::size_t at) const noexcept { return LittleEndian::readUInt32(bytes + at); }
    // Any byte but zero is true.
    bool getFlag(std::size_t at) const noexcept { return bytes[at] != 0; }
    double getFloat(std::size_t at) const noexcept { return LittleEndian::readFloat(bytes + at); }
    double getDouble(std::size_t at) const noexcept { return LittleEndian::readDouble(bytes + at); }
    Vector3D getVector(std::size_t at) const noexcept { return {getFloat(at), getFloat(at + 4), getFloat(at + 8)}; }
    Matrix3x3 getMatrix(std::size_t at) const noexcept
    {
        return {getVector(at), getVector(at + 12), getVector(at + 24)};
    }
};

// Encodes fields at byte offsets in place, the same way round: into a CompactNCIBlock, or a
// record straight into a writer's buffer.
struct CompactNCIWriteView {
    unsigned char* bytes;

    void putUInt32(std::size_t at, std::uint32_t value) const noexcept { LittleEndian::writeUInt32(bytes + at, value); }
    void putFlag(std::size_t at, bool value) const noexcept { bytes[at] = value ? 1 : 0; }
    // Narrowed to the nearest float.
    void putFloat(std::size_t at, double value) const noexcept
    {
        LittleEndian::writeFloat(bytes + at, static_cast<float>(value));
    }
    void putDouble(std::size_t at, double value) const noexcept { LittleEndian::writeDouble(bytes + at, value); }
    // Narrowed by CompactNCIImpl::getAsVector, the format's one way of narrowing a vector.
    void putVector(std::size_t at, Vector3D const& v) const noexcept { putVector(at, CompactNCIImpl::getAsVector(v)); }
    void putVector(std::size_t at, CompactNCIImpl::FloatVector const& v) const noexcept
    {
        LittleEndian::writeFloat(bytes + at, v.x);
        LittleEndian::writeFloat(bytes + at + 4, v.y);
        LittleEndian::writeFloat(bytes + at + 8, v.z);
    }
    void putMatrix(std::size_t at, Matrix3x3 const& m) const noexcept
    {
        for (int column = 0; column < 3; ++column)
            putVector(at + 12 * static_cast<std::size_t>(column), m.getColumn(column));
    }
};

// A writer value-initialises its block ({}) so that the bytes it does not set, the reserved ones
// of a layout, are zeros on disk; a reader fills a default-initialised block whole from the input.
template <std::size_t Size> struct CompactNCIBlock {
    static constexpr std::size_t size = Size;
    alignas(8) unsigned char bytes[Size];

    void putUInt32(std::size_t at, std::uint32_t value) noexcept { writeView().putUInt32(at, value); }
    void putFlag(std::size_t at, bool value) noexcept { writeView().putFlag(at, value); }
    void putFloat(std::size_t at, double value) noexcept { writeView().putFloat(at, value); }
    void putDouble(std::size_t at, double value) noexcept { writeView().putDouble(at, value); }
    void putVector(std::size_t at, Vector3D const& v) noexcept { writeView().putVector(at, v); }
    void putMatrix(std::size_t at, Matrix3x3 const& m) noexcept { writeView().putMatrix(at, m); }

    std::uint32_t getUInt32(std::size_t at) const noexcept { return view().getUInt32(at); }
    bool getFlag(std::size_t at) const noexcept { return view().getFlag(at); }
    double getFloat(std::size_t at) const noexcept { return view().getFloat(at); }
    double getDouble(std::size_t at) const noexcept { return view().getDouble(at); }
    Vector3D getVector(std::size_t at) const noexcept { return view().getVector(at); }
    Matrix3x3 getMatrix(std::size_t at) const noexcept { return view().getMatrix(at); }

private:
    CompactNCIView view() const noexcept { return {bytes}; }
    CompactNCIWriteView writeView() noexcept { return {bytes}; }
};

} // namespace Quarn
