// The move records and the sink that fills them.
#include "python/src/MoveBatch.h"

#include <pybind11/numpy.h>

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace Quarn::Python {

std::array<char const*, KIND_COUNT> const MoveKindNames = {"RAPID", "LINEAR", "CW_ARC", "CCW_ARC", "CIRCULAR",
    "CW_CIRCLE", "CCW_CIRCLE", "RAPID_5D", "LINEAR_5D", "SPLINE", "BEZIER", "NURBS", "LINEAR_EXTRUDE", "CW_ARC_EXTRUDE",
    "CCW_ARC_EXTRUDE", "CIRCULAR_EXTRUDE"};

void registerMoveDtype()
{
    PYBIND11_NUMPY_DTYPE(
        MoveRecord, kind, end, direction, center, normal, sweep, feed, flags, movement, section, tool, event);
}

// --- RecordBuffer.

RecordBuffer::RecordBuffer(std::size_t capacity) { reserve(capacity); }

RecordBuffer::RecordBuffer(RecordBuffer&& other) noexcept
    : records(std::exchange(other.records, nullptr)), count(std::exchange(other.count, 0)),
      room(std::exchange(other.room, 0))
{
}

RecordBuffer& RecordBuffer::operator=(RecordBuffer&& other) noexcept
{
    if (this != &other) {
        std::free(records);
        records = std::exchange(other.records, nullptr);
        count = std::exchange(other.count, 0);
        room = std::exchange(other.room, 0);
    }
    return *this;
}

RecordBuffer::~RecordBuffer() { std::free(records); }

void RecordBuffer::reserve(std::size_t capacity)
{
    if (capacity <= room)
        return;
    // A size that does not fit size_t would wrap to a small block (a huge batch asks for one).
    if (capacity > std::numeric_limits<std::size_t>::max() / sizeof(MoveRecord))
        throw std::bad_alloc();
    // realloc moves large blocks by remapping their pages: growing a program of millions of
    // moves copies nothing and never holds two copies.
    void* const grown = std::realloc(records, capacity * sizeof(MoveRecord));
    if (grown == nullptr)
        throw std::bad_alloc();
    records = static_cast<MoveRecord*>(grown);
    room = capacity;
}

py::array RecordBuffer::toArray()
{
    if (count == 0) {
        *this = RecordBuffer();
        return py::array_t<MoveRecord>(0);
    }
    if (count < room) {
        // Gives the unused tail back (in place for large blocks).
        if (void* const shrunk = std::realloc(records, count * sizeof(MoveRecord)))
            records = static_cast<MoveRecord*>(shrunk);
        room = count;
    }
    py::capsule owner(records, [](void* memory) { std::free(memory); });
    MoveRecord* const data = std::exchange(records, nullptr);
    std::size_t const size = std::exchange(count, 0);
    room = 0;
    return py::array_t<MoveRecord>({static_cast<py::ssize_t>(size)}, {static_cast<py::ssize_t>(sizeof(MoveRecord))},
        data, owner);
}

// --- MoveSink.

MoveSink::MoveSink(std::size_t batchSize, BatchHandler* handler, bool gather)
    : buffer(handler != nullptr ? batchSize : std::min<std::size_t>(batchSize, 4096)), batchSize(batchSize),
      handler(handler), gather(gather)
{
}

ProgramData& MoveSink::finish()
{
    if (currentSection >= 0 && gather)
        data.sections.back().stop = static_cast<std::int64_t>(getMoveCount());
    currentSection = -1;
    return data;
}

bool MoveSink::flush()
{
    if (handler == nullptr) {
        buffer.reserve(buffer.capacity() * 2);
        return true;
    }
    moveCount += buffer.size();
    bool const goOn = handler->take(std::move(buffer));
    if (goOn)
        buffer = RecordBuffer(batchSize);
    return goOn;
}

bool MoveSink::line(MoveKind kind, Vector3D const& end, Vector3D const* direction, double feed, unsigned int flags)
{
    MoveRecord& record = begin(kind, end, feed, flags);
    if (direction != nullptr)
        set(record.direction, *direction);
    else
        setNaN(record.direction);
    setNaN(record.center);
    setNaN(record.normal);
    record.sweep = NaN;
    return commit();
}

bool MoveSink::arc(MoveKind kind, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feed, unsigned int flags)
{
    MoveRecord& record = begin(kind, end, feed, flags);
    setNaN(record.direction);
    set(record.center, center);
    set(record.normal, normal);
    record.sweep = sweep;
    return commit();
}

bool MoveSink::on(Tag<NCEvent::onRapid>, Vector3D const& end, unsigned int flags)
{
    return line(KIND_RAPID, end, nullptr, NaN, flags);
}

bool MoveSink::on(Tag<NCEvent::onRapid5D>, Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return line(KIND_RAPID_5D, end, &direction, NaN, flags);
}

bool MoveSink::on(Tag<NCEvent::onLinear>, Vector3D const& end, double feed, unsigned int flags)
{
    return line(KIND_LINEAR, end, nullptr, feed, flags);
}

bool MoveSink::on(
    Tag<NCEvent::onLinear5D>, Vector3D const& end, Vector3D const& direction, double feed, unsigned int flags)
{
    return line(KIND_LINEAR_5D, end, &direction, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onLinearExtrude>, Vector3D const& end, double feed, double)
{
    return line(KIND_LINEAR_EXTRUDE, end, nullptr, feed, 0);
}

bool MoveSink::on(Tag<NCEvent::onCWArc>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int flags)
{
    return arc(KIND_CW_ARC, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCCWArc>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int flags)
{
    return arc(KIND_CCW_ARC, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCircular>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feed, unsigned int flags)
{
    return arc(KIND_CIRCULAR, center, end, normal, sweep, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCWArcExtrude>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feed, double, unsigned int flags)
{
    return arc(KIND_CW_ARC_EXTRUDE, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCCWArcExtrude>, Vector3D const& center, Vector3D const& end,
    Vector3D const& normal, double feed, double, unsigned int flags)
{
    return arc(KIND_CCW_ARC_EXTRUDE, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCircularExtrude>, Vector3D const& center, Vector3D const& end,
    Vector3D const& normal, double sweep, double feed, double, unsigned int flags)
{
    return arc(KIND_CIRCULAR_EXTRUDE, center, end, normal, sweep, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCWCircle>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int flags)
{
    return arc(KIND_CW_CIRCLE, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onCCWCircle>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int flags)
{
    return arc(KIND_CCW_CIRCLE, center, end, normal, NaN, feed, flags);
}

bool MoveSink::on(
    Tag<NCEvent::onSpline>, Vector3D const&, Vector3D const&, Vector3D const& end, double feed, unsigned int flags)
{
    return line(KIND_SPLINE, end, nullptr, feed, flags);
}

bool MoveSink::on(
    Tag<NCEvent::onBezier>, Vector3D const&, Vector3D const&, Vector3D const& end, double feed, unsigned int flags)
{
    return line(KIND_BEZIER, end, nullptr, feed, flags);
}

// A clamped NURBS curve ends at its last control point.
bool MoveSink::on(Tag<NCEvent::onNURBS>, Vector3D const* controlPoints, unsigned int count, double const*,
    unsigned int, double feed, unsigned int flags)
{
    Vector3D const end = count > 0 ? controlPoints[count - 1] : Vector3D::getNaN();
    return line(KIND_NURBS, end, nullptr, feed, flags);
}

bool MoveSink::on(Tag<NCEvent::onSection>)
{
    currentSection = sectionCount++;
    if (gather) {
        SectionData section;
        section.start = section.stop = static_cast<std::int64_t>(getMoveCount());
        section.event = eventIndex;
        section.context = lastContext;
        section.tool = lastTool;
        data.sections.push_back(section);
    }
    ++eventIndex;
    return true;
}

bool MoveSink::on(Tag<NCEvent::onSectionEnd>)
{
    if (gather && currentSection >= 0)
        data.sections.back().stop = static_cast<std::int64_t>(getMoveCount());
    currentSection = -1;
    ++eventIndex;
    return true;
}

bool MoveSink::on(Tag<NCEvent::onContext>, NCContext const& newContext)
{
    if (gather) {
        data.contexts.push_back(newContext);
        lastContext = static_cast<std::int64_t>(data.contexts.size()) - 1;
        // A context sent inside a section is the section's.
        if (currentSection >= 0)
            data.sections.back().context = lastContext;
    }
    ++eventIndex;
    return true;
}

bool MoveSink::on(Tag<NCEvent::onTool>, NCTool const& newTool)
{
    currentTool = static_cast<std::int32_t>(newTool.getNumber());
    if (gather) {
        data.tools.push_back(newTool);
        lastTool = static_cast<std::int64_t>(data.tools.size()) - 1;
        if (currentSection >= 0)
            data.sections.back().tool = lastTool;
    }
    ++eventIndex;
    return true;
}

bool MoveSink::on(Tag<NCEvent::onDwell>, double time, unsigned int flags)
{
    if (gather)
        data.dwells.push_back({eventIndex, time, flags});
    ++eventIndex;
    return true;
}

// Comments are not counted: they carry the index of the next counted event.
bool MoveSink::on(Tag<NCEvent::onComment>, wchar_t const* comment)
{
    if (gather)
        data.comments.push_back({eventIndex, std::wstring(comment != nullptr ? comment : L"")});
    return true;
}

bool MoveSink::on(Tag<NCEvent::onComment>, char const* comment)
{
    if (gather)
        data.comments.push_back({eventIndex, std::string(comment != nullptr ? comment : "")});
    return true;
}

template <typename Value>
bool MoveSink::parameter(char const* name, Value value)
{
    if (gather)
        data.parameters.push_back({eventIndex, std::string(name != nullptr ? name : ""), ParameterValue(value)});
    ++eventIndex;
    return true;
}

bool MoveSink::on(Tag<NCEvent::onParameter>, char const* name, wchar_t const* value)
{
    return parameter(name, std::wstring(value != nullptr ? value : L""));
}

bool MoveSink::on(Tag<NCEvent::onParameter>, char const* name, char const* value)
{
    return parameter(name, std::string(value != nullptr ? value : ""));
}

} // namespace Quarn::Python
