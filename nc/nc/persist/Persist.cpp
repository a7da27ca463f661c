// Persist: the member protocol in both directions, and the texts of its errors.
#include "nc/nc/persist/Persist.h"

#include "nc/nc/persist/Persistent.h"
#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

namespace Quarn::persist {

namespace {

template <class T> constexpr char const* scalarType() noexcept
{
    if constexpr (std::is_same_v<T, bool>)
        return Persist::BOOL_TYPE;
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return Persist::INT32_TYPE;
    else if constexpr (std::is_same_v<T, std::uint32_t>)
        return Persist::UINT32_TYPE;
    else if constexpr (std::is_same_v<T, std::int64_t>)
        return Persist::INT64_TYPE;
    else if constexpr (std::is_same_v<T, std::uint64_t>)
        return Persist::UINT64_TYPE;
    else if constexpr (std::is_same_v<T, double>)
        return Persist::DOUBLE_TYPE;
    else if constexpr (std::is_same_v<T, std::string>)
        return Persist::STRING_TYPE;
    else
        return Persist::WSTRING_TYPE;
}

std::wstring wide(std::string_view text) { return Unicode::fromUTF8(text); }

} // namespace

Persist::Persist(Node& root) : reading(false), writeFrames {&root} { }

Persist::Persist(Node const& root) : reading(true), readFrames {{&root, root.getName().c_str(), false, 0}} { }

void Persist::member(char const* name, bool& value) { scalar(name, value); }

void Persist::member(char const* name, std::int32_t& value) { scalar(name, value); }

void Persist::member(char const* name, std::uint32_t& value) { scalar(name, value); }

void Persist::member(char const* name, std::int64_t& value) { scalar(name, value); }

void Persist::member(char const* name, std::uint64_t& value) { scalar(name, value); }

void Persist::member(char const* name, double& value) { scalar(name, value); }

void Persist::member(char const* name, std::string& value) { scalar(name, value); }

void Persist::member(char const* name, std::wstring& value) { scalar(name, value); }

void Persist::member(char const* name, Persistent& object)
{
    objectMember(name, object.iceDynamicClass(), [&] { object.iceListMembers(*this); });
}

int Persist::version(int current)
{
    if (!reading) {
        writeFrames.back()->setVersion(current);
        return current;
    }
    return readFrames.back().node->getVersion().value_or(0);
}

template <class T> void Persist::scalar(char const* name, T& value)
{
    char const* type = scalarType<T>();
    if (!reading) {
        writeFrames.back()->addChild(Node(name, type, Node::Value(std::in_place_type<T>, value)));
        return;
    }
    if (!beginRead(name, type))
        return;
    T const* stored = std::get_if<T>(&readFrames.back().node->getValue());
    if (stored == nullptr)
        throw IOException(L"Member '" + path() + L"' has no value of type '" + wide(type) + L"'.");
    value = *stored;
    end();
}

void Persist::beginWrite(char const* name, char const* type)
{
    writeFrames.push_back(&writeFrames.back()->addChild(Node(name, type)));
}

bool Persist::beginRead(char const* name, char const* type)
{
    ReadFrame& top = readFrames.back();
    bool const element = top.array;
    Node const* node;
    if (element) {
        // The vector template asks for exactly as many elements as there are.
        QUARN_ASSERT(top.next < top.node->getChildren().size());
        node = &top.node->getChildren()[top.next++];
    } else {
        std::optional<std::size_t> index = top.node->findChild(name);
        if (!index)
            return false;
        node = &top.node->getChildren()[*index];
    }
    readFrames.push_back({node, name, false, 0});
    if (element && node->getName() != name)
        throw IOException(
            L"Member '" + path() + L"' is named '" + wide(node->getName()) + L"', expected '" + wide(name) + L"'.");
    if (node->getType() != type)
        throw IOException(
            L"Member '" + path() + L"' has type '" + wide(node->getType()) + L"', expected '" + wide(type) + L"'.");
    return true;
}

std::optional<std::size_t> Persist::beginReadVector(char const* name)
{
    if (!beginRead(name, VECTOR_TYPE))
        return std::nullopt;
    Node const& vector = *readFrames.back().node;
    for (char const* part : {SIZE_NAME, ARRAY_NAME})
        if (!vector.findChild(part))
            throw IOException(L"Member '" + path() + L"' lacks '" + wide(part) + L"'.");
    std::uint64_t size = 0;
    scalar(SIZE_NAME, size);
    beginRead(ARRAY_NAME, ARRAY_TYPE);
    Node const& array = *readFrames.back().node;
    end();
    std::size_t const count = array.getChildren().size();
    if (size != count)
        throw IOException(L"Member '" + path() + L"' has m_size " + std::to_wstring(size) + L" but "
            + std::to_wstring(count) + L" items.");
    // The elements take the vector's place, so that their paths read "m_values[2]".
    readFrames.back() = {&array, name, true, 0};
    return count;
}

void Persist::end() noexcept
{
    if (reading)
        readFrames.pop_back();
    else
        writeFrames.pop_back();
}

std::wstring Persist::path() const
{
    std::string text;
    for (std::size_t i = 1; i < readFrames.size(); ++i) {
        ReadFrame const& parent = readFrames[i - 1];
        if (parent.array) {
            text += '[' + std::to_string(parent.next - 1) + ']';
        } else {
            if (!text.empty())
                text += '.';
            text += readFrames[i].name;
        }
    }
    return wide(text);
}

} // namespace Quarn::persist
