// SequentialBinaryContext: the encoder and the checked decoder of node trees.
#include "nc/nc/persist/SequentialBinaryContext.h"

#include "util/utility/IOException.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/BufferedOutputStream.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace Quarn::persist {

namespace {

using Context = SequentialBinaryContext;

// Name, type tag, value kind, version flag and child count of a node without content.
constexpr std::uint64_t MIN_NODE_SIZE = 4 + 4 + 1 + 1 + 4;
// Text is read in pieces of this size, so that a forged length costs no more memory than
// the bytes that are really there.
constexpr std::size_t TEXT_CHUNK = 64 * 1024;

constexpr std::size_t KIND_STRING = 7;
constexpr std::size_t KIND_WSTRING = 8;
static_assert(std::is_same_v<std::variant_alternative_t<KIND_STRING, Node::Value>, std::string>);
static_assert(std::is_same_v<std::variant_alternative_t<KIND_WSTRING, Node::Value>, std::wstring>);
static_assert(std::variant_size_v<Node::Value> == KIND_WSTRING + 1);

std::wstring tooDeep() { return L"Nodes nest deeper than " + std::to_wstring(Context::MAX_DEPTH) + L" levels."; }

// "Name of 2000 bytes exceeds the limit of 1024."
std::wstring tooLong(wchar_t const* what, std::uint64_t length, wchar_t const* units, std::uint64_t limit)
{
    return std::wstring(what) + L" of " + std::to_wstring(length) + L" " + units + L" exceeds the limit of "
        + std::to_wstring(limit) + L".";
}

void checkLength(wchar_t const* what, std::size_t length, wchar_t const* units, std::size_t limit)
{
    if (length > limit)
        throw IOException(tooLong(what, length, units, limit));
}

// Checks the whole tree before the first byte is written.
void checkLimits(Node const& node, std::size_t depth)
{
    if (depth > Context::MAX_DEPTH)
        throw IOException(tooDeep());
    checkLength(L"Name", node.getName().size(), L"bytes", Context::MAX_NAME_LENGTH);
    checkLength(L"Type tag", node.getType().size(), L"bytes", Context::MAX_NAME_LENGTH);
    if (auto const* text = std::get_if<std::string>(&node.getValue()))
        checkLength(L"String", text->size(), L"bytes", Context::MAX_TEXT_LENGTH);
    else if (auto const* wide = std::get_if<std::wstring>(&node.getValue()))
        checkLength(L"Wide string", Unicode::getUTF16Length(*wide), L"units", Context::MAX_TEXT_LENGTH);
    checkLength(L"Child list", node.getChildren().size(), L"nodes", std::numeric_limits<std::uint32_t>::max());
    for (Node const& child : node.getChildren())
        checkLimits(child, depth + 1);
}

class Writer {
public:
    explicit Writer(OutputStream& out) : out(&out) { }

    void writeTree(Node const& root)
    {
        out.writeBytes(Context::MAGIC, sizeof Context::MAGIC);
        out.writeUInt32(Context::FORMAT_VERSION);
        writeNode(root);
        out.flush();
    }

private:
    void writeNode(Node const& node)
    {
        writeText(node.getName());
        writeText(node.getType());
        Node::Value const& value = node.getValue();
        out.writeUInt8(static_cast<std::uint8_t>(value.index()));
        std::visit([this](auto const& v) { writeValue(v); }, value);
        if (std::optional<int> version = node.getVersion()) {
            out.writeUInt8(1);
            out.writeInt32(*version);
        } else {
            out.writeUInt8(0);
        }
        out.writeUInt32(static_cast<std::uint32_t>(node.getChildren().size()));
        for (Node const& child : node.getChildren())
            writeNode(child);
    }

    void writeText(std::string const& text)
    {
        out.writeUInt32(static_cast<std::uint32_t>(text.size()));
        out.writeBytes(text.data(), text.size());
    }

    void writeValue(std::monostate) { }
    void writeValue(bool value) { out.writeUInt8(value ? 1 : 0); }
    void writeValue(std::int32_t value) { out.writeInt32(value); }
    void writeValue(std::uint32_t value) { out.writeUInt32(value); }
    void writeValue(std::int64_t value) { out.writeUInt64(static_cast<std::uint64_t>(value)); }
    void writeValue(std::uint64_t value) { out.writeUInt64(value); }
    void writeValue(double value) { out.writeDouble(value); }
    void writeValue(std::string const& value) { writeText(value); }
    void writeValue(std::wstring const& value)
    {
        std::u16string units = Unicode::toUTF16(value);
        out.writeUInt32(static_cast<std::uint32_t>(units.size()));
        for (char16_t unit : units)
            out.writeUInt16(unit);
    }

    BufferedOutputStream out;
};

class Reader {
public:
    explicit Reader(BufferedInputStream& in) noexcept : in(in) { }

    Node readTree()
    {
        std::uint64_t const start = in.getPosition();
        unsigned char magic[sizeof Context::MAGIC];
        in.readBytes(magic, sizeof magic);
        if (!std::equal(magic, magic + sizeof magic, Context::MAGIC))
            throw IOException(L"Bad magic: not a node file.", start);
        std::uint64_t const versionAt = in.getPosition();
        std::uint32_t const version = in.readUInt32();
        if (version != Context::FORMAT_VERSION)
            throw IOException(L"Unsupported format version " + std::to_wstring(version) + L".", versionAt);
        return readNode(1);
    }

private:
    Node readNode(std::size_t depth)
    {
        if (depth > Context::MAX_DEPTH)
            throw IOException(tooDeep(), in.getPosition());
        Node node;
        node.setName(readText(L"Name", Context::MAX_NAME_LENGTH));
        node.setType(readText(L"Type tag", Context::MAX_NAME_LENGTH));
        node.setValue(readValue());
        node.setVersion(readVersion());
        std::uint64_t const countAt = in.getPosition();
        std::uint32_t const count = in.readUInt32();
        std::optional<std::uint64_t> const left = in.getRemaining();
        if (left && count > *left / MIN_NODE_SIZE)
            throw IOException(
                L"Child count " + std::to_wstring(count) + L" exceeds the " + std::to_wstring(*left) + L" bytes left.",
                countAt);
        // The children vector grows only as children are really read.
        for (std::uint32_t i = 0; i < count; ++i)
            node.addChild(readNode(depth + 1));
        return node;
    }

    Node::Value readValue()
    {
        std::uint64_t const kindAt = in.getPosition();
        switch (std::uint8_t const kind = in.readUInt8()) {
        case 0:
            return {};
        case 1: {
            std::uint64_t const at = in.getPosition();
            std::uint8_t const value = in.readUInt8();
            if (value > 1)
                throw IOException(L"Bad bool value " + std::to_wstring(value) + L".", at);
            return Node::Value(std::in_place_index<1>, value == 1);
        }
        case 2:
            return Node::Value(std::in_place_index<2>, in.readInt32());
        case 3:
            return Node::Value(std::in_place_index<3>, in.readUInt32());
        case 4:
            return Node::Value(std::in_place_index<4>, static_cast<std::int64_t>(in.readUInt64()));
        case 5:
            return Node::Value(std::in_place_index<5>, in.readUInt64());
        case 6:
            return Node::Value(std::in_place_index<6>, in.readDouble());
        case KIND_STRING:
            return Node::Value(std::in_place_index<KIND_STRING>, readText(L"String", Context::MAX_TEXT_LENGTH));
        case KIND_WSTRING:
            return Node::Value(std::in_place_index<KIND_WSTRING>, readWideText());
        default:
            throw IOException(L"Unknown value kind " + std::to_wstring(kind) + L".", kindAt);
        }
    }

    std::optional<int> readVersion()
    {
        std::uint64_t const at = in.getPosition();
        std::uint8_t const flag = in.readUInt8();
        if (flag == 0)
            return std::nullopt;
        if (flag != 1)
            throw IOException(L"Bad version flag " + std::to_wstring(flag) + L".", at);
        return in.readInt32();
    }

    // A uint32 count of units of unitSize bytes, checked against limit and the bytes left.
    std::size_t readLength(wchar_t const* what, wchar_t const* units, std::size_t unitSize, std::size_t limit)
    {
        std::uint64_t const at = in.getPosition();
        std::uint32_t const length = in.readUInt32();
        if (length > limit)
            throw IOException(tooLong(what, length, units, limit), at);
        std::optional<std::uint64_t> const left = in.getRemaining();
        if (left && std::uint64_t {length} * unitSize > *left)
            throw IOException(std::wstring(what) + L" of " + std::to_wstring(length) + L" " + units + L" exceeds the "
                    + std::to_wstring(*left) + L" bytes left.",
                at);
        return length;
    }

    std::string readBytes(std::size_t size)
    {
        std::string bytes;
        while (bytes.size() < size) {
            std::size_t const done = bytes.size();
            bytes.resize(done + std::min(size - done, TEXT_CHUNK));
            in.readBytes(bytes.data() + done, bytes.size() - done);
        }
        return bytes;
    }

    std::string readText(wchar_t const* what, std::size_t limit)
    {
        return readBytes(readLength(what, L"bytes", 1, limit));
    }

    std::wstring readWideText()
    {
        std::size_t const length = readLength(L"Wide string", L"units", 2, Context::MAX_TEXT_LENGTH);
        std::string const bytes = readBytes(2 * length);
        std::u16string units(length, u'\0');
        for (std::size_t i = 0; i < length; ++i)
            units[i] = LittleEndian::readUInt16(reinterpret_cast<unsigned char const*>(bytes.data()) + 2 * i);
        return Unicode::fromUTF16(units);
    }

    BufferedInputStream& in;
};

} // namespace

void SequentialBinaryContext::write(Node const& root, OutputStream& out)
{
    checkLimits(root, 1);
    Writer(out).writeTree(root);
}

Node SequentialBinaryContext::read(BufferedInputStream& in) { return Reader(in).readTree(); }

Node SequentialBinaryContext::read(InputStream& in)
{
    BufferedInputStream buffered(&in);
    return read(buffered);
}

} // namespace Quarn::persist
