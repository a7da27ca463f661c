// Decoding of cutter location data records, in either byte order, into NC stream events.
#include "nc/nc/io/CutterLocationDataReader.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/io/CutterLocationDataDescription.h"
#include "nc/nc/io/CutterLocationDataImpl.h"
#include "util/utility/Architecture.h"
#include "util/utility/IOException.h"
#include "util/utility/SafePointer.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/Unicode.h"

#include <string>
#include <string_view>
#include <type_traits>

namespace Quarn {

namespace {

using Impl = CutterLocationDataImpl;

// The machine's own byte order.
using Native = std::conditional_t<Architecture::isLE(), LittleEndian, BigEndian>;
// isValid and getVersion read only the header.
constexpr std::size_t HeaderBufferSize = 4096;
constexpr std::uint64_t VersionRecordSize = 7;

std::wstring number(std::uint64_t value) { return std::to_wstring(value); }

std::wstring quoted(std::string_view text) { return L"\"" + Unicode::fromUTF8(text) + L"\""; }

// Bytes from the stream's position to the end of the input (an unknown end is the largest offset).
std::uint64_t bytesLeft(BufferedInputStream const& in, std::uint64_t end) noexcept
{
    std::uint64_t const position = in.getPosition();
    return position < end ? end - position : 0;
}

std::wstring exceedsMessage(wchar_t const* what, std::uint64_t count, std::uint64_t left)
{
    return std::wstring(what) + L" " + number(count) + L" exceeds the " + number(left) + L" bytes left.";
}

// Fields at byte offsets of a record, in the file's byte order.
template <class Order> struct View {
    unsigned char const* bytes;

    std::uint32_t getUInt32(std::size_t at) const noexcept { return Order::readUInt32(bytes + at); }
    std::int32_t getInt32(std::size_t at) const noexcept { return Order::readInt32(bytes + at); }
    double getFloat(std::size_t at) const noexcept { return Order::readFloat(bytes + at); }
    Vector3D getVector(std::size_t at) const noexcept { return {getFloat(at), getFloat(at + 4), getFloat(at + 8)}; }
    // Nine floats, row after row.
    Matrix3x3 getMatrix(std::size_t at) const noexcept
    {
        Matrix3x3 m;
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                m(row, column)
                    = getFloat(at + 12 * static_cast<std::size_t>(row) + 4 * static_cast<std::size_t>(column));
        return m;
    }
};

// A payload of fixed size read from the stream; every byte is filled from the input.
template <class Order, std::size_t Size> struct Block {
    unsigned char bytes[Size];
    View<Order> view() const noexcept { return {bytes}; }
};

// The frequent moves, each a record of fixed size (its code included) decoded in place.
template <class Order> struct Move {
    static constexpr std::size_t size = 16;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_MOVE; }
    static bool send(NCStream& target, View<Order> v) { return target.onLinear(v.getVector(4), 0.0, 0); }
};

template <class Order> struct Move5D {
    static constexpr std::size_t size = 28;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_MOVE_5D; }
    static bool send(NCStream& target, View<Order> v)
    {
        return target.onLinear5D(v.getVector(4), v.getVector(16), 0.0, NCStream::FLAG_ABSOLUTE_DIRECTION);
    }
};

// One of the codes 110 to 113; inline into the runs of arcs, where the turning sense is a
// well-predicted branch rather than a call.
[[gnu::always_inline]] inline bool sendArc(
    NCStream& target, std::uint32_t code, Vector3D const& center, Vector3D const& end, Vector3D const& normal)
{
    switch (code) {
    case Impl::RECORD_CCW_ARC:
        return target.onCCWArc(center, end, normal, 0.0, 0);
    case Impl::RECORD_CW_ARC:
        return target.onCWArc(center, end, normal, 0.0, 0);
    case Impl::RECORD_CCW_CIRCLE:
        return target.onCCWCircle(center, end, normal, 0.0, 0);
    default:
        return target.onCWCircle(center, end, normal, 0.0, 0);
    }
}

// Both turning senses of arcs and circles, which alternate in programs as often as not.
template <class Order> struct Arc {
    static constexpr std::size_t size = 40;
    static bool matches(std::uint32_t code) noexcept { return code - Impl::RECORD_CCW_ARC <= 3; }
    static bool send(NCStream& target, View<Order> v)
    {
        return sendArc(target, v.getUInt32(0), v.getVector(4), v.getVector(16), v.getVector(28));
    }
};

template <class Order> struct Circular {
    static constexpr std::size_t size = 44;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_CIRCULAR; }
    static bool send(NCStream& target, View<Order> v)
    {
        return target.onCircular(v.getVector(4), v.getVector(16), v.getVector(28), v.getFloat(40), 0.0, 0);
    }
};

// A window of the buffer this long holds any frequent move whole.
constexpr std::size_t LongestMove = 44;
// How far ahead of the move being sent its bytes are asked into the cache. The block was filled
// on another processor; the processor's own prefetching stops at every page boundary.
constexpr std::size_t PrefetchDistance = 1024;

// One import's replay, from the record after the version to onClose, for a file whose numbers
// are in Order: the decoder is fixed for the whole file, so no field tests the byte order.
template <class Order> class Replayer {
public:
    Replayer(CutterLocationDataReader& reader, BufferedInputStream& in, NCStream& target)
        : reader(reader), abortSource(reader.getAbortable()), in(in), target(target)
    {
        place.end = in.getEnd();
    }

    bool run()
    {
        readOpenParameters();
        if (!target.onOpen() || !replay() || !description.flush(target))
            return false;
        return target.onClose();
    }

private:
    // Where the record being read starts, and its code.
    struct Place {
        std::uint64_t offset = 0;
        std::uint64_t end = 0;
        std::uint32_t code = 0;
    };

    static constexpr bool isBigEndian = std::is_same_v<Order, BigEndian>;

    void readOpenParameters();
    // The text parameter of this name; any other record, or none, is the error missing.
    void readOpenParameter(std::string_view expected, wchar_t const* missing);
    bool replay();
    template <class Kind> bool replayRun();
    bool replayRecord(std::uint32_t code);
    bool flushHeld() { return !description.isHolding() || description.flush(target); }
    bool isAbortRequested() const noexcept
    {
        // Without an abort source of its own the reader is one: polled without a virtual call.
        return abortSource == &reader ? reader.AbortableImpl::isAborted() : abortSource->isAborted();
    }

    std::uint32_t readCode();
    template <std::size_t Size> Block<Order, Size> readBlock();
    [[noreturn]] void failTruncated(std::uint64_t needed, std::uint64_t left) const;
    void readName() { readNarrow(name); }
    void readText() { readNarrow(text); }
    void readNarrow(std::string& into);
    void readWide();

    CutterLocationDataReader& reader;
    Abortable const* const abortSource;
    BufferedInputStream& in;
    NCStream& target;
    Place place;
    CutterLocationDataDescription description;
    // Buffers kept from record to record.
    std::string name;
    std::string text;
    std::u16string raw; // UTF-16 units of a wide string
    std::wstring wide;
};

template <class Order> void Replayer<Order>::readOpenParameters()
{
    readOpenParameter(Impl::NamespaceParameter, L"Missing namespace parameter \"xmlns:cld\".");
    if (text != Impl::getUri())
        throw IOException(L"Parameter \"xmlns:cld\" does not name this format.", place.offset);
    readOpenParameter(Impl::ByteOrderParameter, L"Missing byte order parameter \"cld:byte-order\".");
    bool const big = text == Impl::BigEndianValue;
    if (!big && text != Impl::LittleEndianValue)
        throw IOException(L"Unknown byte order " + quoted(text) + L".", place.offset);
    if (big != isBigEndian)
        throw IOException(L"Byte order " + quoted(text) + L" does not match the file's numbers.", place.offset);
}

template <class Order> void Replayer<Order>::readOpenParameter(std::string_view expected, wchar_t const* missing)
{
    place.offset = in.getPosition();
    place.code = 0;
    if (in.isAtEnd())
        throw IOException(missing, place.offset);
    std::uint32_t const code = readCode();
    if (code != Impl::RECORD_PARAMETER_TEXT)
        throw IOException(missing, place.offset);
    place.code = code;
    readName();
    if (name != expected)
        throw IOException(missing, place.offset);
    readText();
}

template <class Order> std::uint32_t Replayer<Order>::readCode()
{
    std::uint64_t const left = bytesLeft(in, place.end);
    if (left < 4)
        throw IOException(L"Truncated record code: " + number(left) + L" bytes left.", in.getPosition());
    unsigned char bytes[4];
    in.readBytes(bytes, 4);
    return Order::readUInt32(bytes);
}

template <class Order> void Replayer<Order>::failTruncated(std::uint64_t needed, std::uint64_t left) const
{
    throw IOException(L"Truncated record " + number(place.code) + L": needs " + number(needed) + L" bytes, "
            + number(left) + L" left.",
        place.offset);
}

template <class Order> template <std::size_t Size> inline Block<Order, Size> Replayer<Order>::readBlock()
{
    std::uint64_t const left = bytesLeft(in, place.end);
    if (left < Size) [[unlikely]]
        failTruncated(Size, left);
    Block<Order, Size> block;
    in.readBytes(block.bytes, Size);
    return block;
}

template <class Order> void Replayer<Order>::readNarrow(std::string& into)
{
    std::uint32_t const length = readBlock<4>().view().getUInt32(0);
    if (length > Impl::MaximumReadStringLength)
        throw IOException(L"String too long.", place.offset);
    std::uint64_t const left = bytesLeft(in, place.end);
    if (length > left)
        throw IOException(exceedsMessage(L"String length", length, left), place.offset);
    into.resize(length);
    in.readBytes(into.data(), length);
}

template <class Order> void Replayer<Order>::readWide()
{
    std::uint32_t const units = readBlock<4>().view().getUInt32(0);
    if (units > Impl::MaximumReadStringLength)
        throw IOException(L"String too long.", place.offset);
    std::uint64_t const left = bytesLeft(in, place.end);
    if (2 * std::uint64_t {units} > left)
        throw IOException(exceedsMessage(L"Wide string length", units, left), place.offset);
    raw.resize(units);
    in.readBytes(raw.data(), 2 * std::size_t {units});
    // Units in memory are in the machine's order: reordered only when the file's differs.
    if constexpr (!std::is_same_v<Order, Native>) {
        for (char16_t& unit : raw)
            unit = static_cast<char16_t>(Order::readUInt16(reinterpret_cast<unsigned char const*>(&unit)));
    }
    wide.clear();
    Unicode::appendFromUTF16(wide, raw);
}

// Sends a run of records of one kind straight from the buffer, while they lie whole in it: the
// record's code is tested with a plain compare instead of a jump through the table of all codes.
template <class Order> template <class Kind> bool Replayer<Order>::replayRun()
{
    // Locals, so that they stay in registers across the calls of the target.
    NCStream& sink = target;
    AbortableImpl const& self = reader;
    Abortable const* const source = abortSource;
    bool const ownSource = source == &self;
    unsigned char const* const first = in.window();
    unsigned char const* const last = first + (in.available() - Kind::size); // last start of a whole record
    // Moves before this one have the bytes PrefetchDistance ahead in the window.
    unsigned char const* const prefetchEnd
        = in.available() > PrefetchDistance ? first + (in.available() - PrefetchDistance) : first;
    unsigned char const* at = first;
    bool go;
    do {
        if (at < prefetchEnd)
            __builtin_prefetch(at + PrefetchDistance);
        go = Kind::send(sink, {at});
        at += Kind::size;
    } while (go && at <= last && Kind::matches(Order::readUInt32(at))
        && !(ownSource ? self.AbortableImpl::isAborted() : source->isAborted()));
    in.consume(static_cast<std::size_t>(at - first));
    return go;
}

template <class Order> bool Replayer<Order>::replay()
{
    for (;;) {
        if (isAbortRequested())
            return false;
        bool go;
        if (in.available() >= LongestMove) [[likely]] {
            std::uint32_t const code = Order::readUInt32(in.window());
            switch (code) {
            case Impl::RECORD_MOVE:
                go = flushHeld() && replayRun<Move<Order>>();
                break;
            case Impl::RECORD_MOVE_5D:
                go = flushHeld() && replayRun<Move5D<Order>>();
                break;
            case Impl::RECORD_CCW_ARC:
            case Impl::RECORD_CW_ARC:
            case Impl::RECORD_CCW_CIRCLE:
            case Impl::RECORD_CW_CIRCLE:
                go = flushHeld() && replayRun<Arc<Order>>();
                break;
            case Impl::RECORD_CIRCULAR:
                go = flushHeld() && replayRun<Circular<Order>>();
                break;
            default:
                place.offset = in.getPosition();
                in.consume(4);
                go = replayRecord(code);
                break;
            }
        } else {
            // A record that may straddle two blocks of the buffer, or be cut by the end of the input.
            if (in.isAtEnd())
                return true;
            place.offset = in.getPosition();
            go = replayRecord(readCode());
        }
        if (!go)
            return false;
    }
}

// Any record whose code was read, with its payload read through the checks.
template <class Order> bool Replayer<Order>::replayRecord(std::uint32_t code)
{
    place.code = code;
    switch (code) {
    case Impl::RECORD_PARAMETER_TEXT:
        readName();
        readText();
        return description.onText(target, name.c_str(), text.c_str());
    case Impl::RECORD_PARAMETER_WIDE_TEXT:
        readName();
        readWide();
        return description.flush(target) && target.onParameter(name.c_str(), wide.c_str());
    case Impl::RECORD_PARAMETER_INT: {
        readName();
        int const value = readBlock<4>().view().getInt32(0);
        return description.flush(target) && target.onParameter(name.c_str(), value);
    }
    case Impl::RECORD_PARAMETER_FLOAT:
        readName();
        return description.onFloat(target, name.c_str(), readBlock<4>().view().getFloat(0));
    case Impl::RECORD_PARAMETER_VECTOR:
        readName();
        return description.onVector(target, name.c_str(), readBlock<12>().view().getVector(0));
    case Impl::RECORD_PARAMETER_MATRIX:
        readName();
        return description.onMatrix(target, name.c_str(), readBlock<36>().view().getMatrix(0));
    case Impl::RECORD_PARAMETER_POINT: {
        readName();
        Vector3D const value = readBlock<12>().view().getVector(0);
        return description.flush(target) && target.onParameter(name.c_str(), Point3D(value));
    }
    case Impl::RECORD_SECTION:
        return description.flush(target) && target.onSection();
    case Impl::RECORD_SECTION_END:
        return description.flush(target) && target.onSectionEnd();
    case Impl::RECORD_MOVE: {
        auto const b = readBlock<12>();
        return description.flush(target) && target.onLinear(b.view().getVector(0), 0.0, 0);
    }
    case Impl::RECORD_CCW_ARC:
    case Impl::RECORD_CW_ARC:
    case Impl::RECORD_CCW_CIRCLE:
    case Impl::RECORD_CW_CIRCLE: {
        auto const b = readBlock<36>();
        View<Order> const v = b.view();
        return description.flush(target) && sendArc(target, code, v.getVector(0), v.getVector(12), v.getVector(24));
    }
    case Impl::RECORD_CIRCULAR: {
        auto const b = readBlock<40>();
        View<Order> const v = b.view();
        return description.flush(target)
            && target.onCircular(v.getVector(0), v.getVector(12), v.getVector(24), v.getFloat(36), 0.0, 0);
    }
    case Impl::RECORD_MOVE_5D: {
        auto const b = readBlock<24>();
        return description.flush(target)
            && target.onLinear5D(b.view().getVector(0), b.view().getVector(12), 0.0, NCStream::FLAG_ABSOLUTE_DIRECTION);
    }
    case Impl::RECORD_VERSION:
        throw IOException(L"Version record 1 after the header.", place.offset);
    default:
        throw IOException(L"Unknown record code " + number(code) + L".", place.offset);
    }
}

} // namespace

CutterLocationDataReader::~CutterLocationDataReader() = default;

std::wstring CutterLocationDataReader::getUri() const { return Unicode::fromUTF8(Impl::getUri()); }

bool CutterLocationDataReader::isIntermediateFormat() const { return true; }

bool CutterLocationDataReader::isValid(std::wstring const& fileName)
{
    try {
        FileInputStream file(fileName);
        BufferedInputStream in(&file, HeaderBufferSize);
        return readHeader(in).version.major == Impl::VersionMajor;
    } catch (...) {
        return false;
    }
}

CutterLocationDataReader::Version CutterLocationDataReader::getVersion(std::wstring const& fileName)
{
    try {
        FileInputStream file(fileName);
        BufferedInputStream in(&file, HeaderBufferSize);
        return readHeader(in).version;
    } catch (...) {
        return {};
    }
}

CutterLocationDataReader::Header CutterLocationDataReader::readHeader(BufferedInputStream& in)
{
    std::string const& uri = Impl::getUri();
    std::uint64_t const end = in.getEnd();
    std::uint64_t offset = in.getPosition();
    if (bytesLeft(in, end) < 4)
        throw IOException(L"Truncated header.", offset);
    unsigned char bytes[4];
    in.readBytes(bytes, 4);
    Header header;
    if (LittleEndian::readUInt32(bytes) == uri.size())
        header.bigEndian = false;
    else if (BigEndian::readUInt32(bytes) == uri.size())
        header.bigEndian = true;
    else
        throw IOException(L"Not a cutter location data file.", offset);
    if (bytesLeft(in, end) < uri.size())
        throw IOException(L"Truncated header.", offset);
    std::string read(uri.size(), '\0');
    in.readBytes(read.data(), read.size());
    if (read != uri)
        throw IOException(L"Not a cutter location data file.", offset);

    offset = in.getPosition();
    if (bytesLeft(in, end) < VersionRecordSize)
        throw IOException(L"Truncated header.", offset);
    unsigned char version[VersionRecordSize];
    in.readBytes(version, VersionRecordSize);
    std::uint32_t const code = header.bigEndian ? BigEndian::readUInt32(version) : LittleEndian::readUInt32(version);
    if (code != Impl::RECORD_VERSION)
        throw IOException(L"Missing version record.", offset);
    header.version = {version[4], version[5], version[6]};
    return header;
}

bool CutterLocationDataReader::import(InputStream* stream)
{
    NCStream& target = *SafePointer<NCStream>(getNCStream());
    BufferedInputStream in(stream, BufferedInputStream::DefaultBufferSize, BufferedInputStream::readAheadFor(*stream));
    Header const header = readHeader(in);
    Version const& v = header.version;
    if (v.major != Impl::VersionMajor)
        throw IOException(
            L"Unsupported version " + number(v.major) + L"." + number(v.minor) + L"." + number(v.build) + L".",
            in.getPosition() - VersionRecordSize);
    if (header.bigEndian)
        return Replayer<BigEndian>(*this, in, target).run();
    return Replayer<LittleEndian>(*this, in, target).run();
}

} // namespace Quarn
