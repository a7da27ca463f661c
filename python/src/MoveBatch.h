// The move records of the Python module: one fixed-size record per move, laid out as the numpy
// dtype of quarnnc's move arrays, and the sink that fills them without touching Python.
#pragma once

#include "python/src/Bindings.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/Vector3D.h"

#include <pybind11/numpy.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace Quarn::Python {

// The codes of MoveRecord::kind, exposed as quarnnc.MoveKind. Dwells are no moves: they stay
// where the tool is and have no end, so they are kept apart (Program.dwells).
enum MoveKind : std::uint8_t {
    KIND_RAPID = 0,
    KIND_LINEAR,
    KIND_CW_ARC,
    KIND_CCW_ARC,
    KIND_CIRCULAR,
    KIND_CW_CIRCLE,
    KIND_CCW_CIRCLE,
    KIND_RAPID_5D,
    KIND_LINEAR_5D,
    KIND_SPLINE,
    KIND_BEZIER,
    KIND_NURBS,
    KIND_LINEAR_EXTRUDE,
    KIND_CW_ARC_EXTRUDE,
    KIND_CCW_ARC_EXTRUDE,
    KIND_CIRCULAR_EXTRUDE,
    KIND_COUNT
};

// The names of the kinds, in code order (the members of quarnnc.MoveKind).
extern std::array<char const*, KIND_COUNT> const MoveKindNames;

// One move. The doubles come first so that the record has no inner padding (136 bytes); the
// dtype lists the fields in the documented order with these offsets. Fields a move does not
// carry are NaN.
struct MoveRecord {
    double end[3];
    double direction[3];
    double center[3];
    double normal[3];
    double sweep;
    double feed;
    std::uint64_t event;
    std::uint32_t flags;
    std::int32_t section;
    std::int32_t tool;
    std::uint8_t kind;
    std::uint8_t movement;
};
static_assert(std::is_trivially_copyable_v<MoveRecord> && std::is_standard_layout_v<MoveRecord>);
static_assert(sizeof(MoveRecord) == 136);

// Registers the dtype of MoveRecord with pybind11; once, before any array of records is made.
void registerMoveDtype();

// A run of records in memory of malloc, so that it can grow by realloc (which remaps large
// blocks rather than copying them) and be handed to numpy as it is.
class RecordBuffer {
public:
    RecordBuffer() noexcept = default;
    explicit RecordBuffer(std::size_t capacity);
    RecordBuffer(RecordBuffer&& other) noexcept;
    RecordBuffer& operator=(RecordBuffer&& other) noexcept;
    RecordBuffer(RecordBuffer const&) = delete;
    RecordBuffer& operator=(RecordBuffer const&) = delete;
    ~RecordBuffer();

    std::size_t size() const noexcept { return count; }
    std::size_t capacity() const noexcept { return room; }
    bool full() const noexcept { return count == room; }
    MoveRecord* data() const noexcept { return records; }
    // The next record, written in place; commit() counts it. Only when !full().
    MoveRecord& next() noexcept { return records[count]; }
    void commit() noexcept { ++count; }
    // Grows to at least capacity records; std::bad_alloc when memory is short.
    void reserve(std::size_t capacity);

    // A numpy array that owns the records (no copy); the buffer is empty afterwards. With the GIL.
    py::array toArray();

private:
    MoveRecord* records = nullptr;
    std::size_t count = 0;
    std::size_t room = 0;
};

// A parameter value as the stream sent it.
using ParameterValue = std::variant<double, int, std::wstring, std::string, Point3D>;

// Plain data gathered next to the moves, turned into Python objects with the GIL afterwards.
struct SectionData {
    std::int64_t start = 0; // the first move of the section
    std::int64_t stop = 0; // one past its last move
    std::uint64_t event = 0; // the onSection event
    std::int64_t context = -1; // the index of the context it is read in, -1 for none
    std::int64_t tool = -1; // the index of its tool in the tools, -1 for none
};
struct ParameterData {
    std::uint64_t event;
    std::string name;
    ParameterValue value;
};
struct CommentData {
    std::uint64_t event;
    std::variant<std::wstring, std::string> text;
};
struct DwellData {
    std::uint64_t event;
    double time;
    std::uint32_t flags;
};
struct ProgramData {
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::vector<SectionData> sections;
    std::vector<ParameterData> parameters;
    std::vector<CommentData> comments;
    std::vector<DwellData> dwells;
};

// The sink that turns a stream into move records. It makes no Python call, so it runs without
// the GIL. Moves go into the buffer; when it is full, the batch handler takes it (iteration) or
// the buffer grows (reading a whole program). With gathering on, contexts, tools, sections,
// parameters, comments and dwells are kept as plain data as well.
class MoveSink final : public NCStream {
public:
    // Takes a full batch and answers whether to go on; null: grow the buffer instead.
    class BatchHandler {
    public:
        virtual ~BatchHandler() = default;
        virtual bool take(RecordBuffer&& batch) = 0;
    };

    MoveSink(std::size_t batchSize, BatchHandler* handler, bool gather);

    // The moves not yet handed to the handler (all of them without one).
    RecordBuffer& getBuffer() noexcept { return buffer; }
    // The gathered data; sections ending with the program get their stop here.
    ProgramData& finish();
    std::uint64_t getMoveCount() const noexcept { return moveCount + buffer.size(); }

    using NCStream::onLinear5D;
    using NCStream::onParameter;
    using NCStream::onRapid5D;

#define QUARN_NC_MOVE_REDUCIBLE(name, parameters, arguments)
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool name parameters override { return on QUARN_NC_PREPEND(Tag<NCEvent::name>{}, arguments); }
#include "nc/nc/NCEvents.def"

private:
    template <NCEvent E>
    using Tag = std::integral_constant<NCEvent, E>;
    static constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

    // Every event the sink does not keep: counted as validate counts it.
    template <NCEvent E, typename... Arguments>
    bool on(Tag<E>, Arguments const&...) noexcept
    {
        if constexpr (isIndexedEvent(E))
            ++eventIndex;
        return true;
    }

    // A move: the record with what every move carries; the caller fills in the rest.
    MoveRecord& begin(MoveKind kind, Vector3D const& end, double feed, unsigned int flags) noexcept
    {
        MoveRecord& record = buffer.next();
        record.end[0] = end.x;
        record.end[1] = end.y;
        record.end[2] = end.z;
        record.feed = feed;
        record.event = eventIndex;
        record.flags = flags;
        record.section = currentSection;
        record.tool = currentTool;
        record.kind = kind;
        record.movement = static_cast<std::uint8_t>(NCStream::getMovement(flags));
        return record;
    }
    static void set(double (&field)[3], Vector3D const& v) noexcept
    {
        field[0] = v.x;
        field[1] = v.y;
        field[2] = v.z;
    }
    static void setNaN(double (&field)[3]) noexcept { field[0] = field[1] = field[2] = NaN; }
    // Counts the record begun last; hands the batch on when it is full.
    bool commit()
    {
        ++eventIndex;
        buffer.commit();
        return buffer.full() ? flush() : true;
    }
    bool flush();

    bool line(MoveKind kind, Vector3D const& end, Vector3D const* direction, double feed, unsigned int flags);
    bool arc(MoveKind kind, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feed, unsigned int flags);

    bool on(Tag<NCEvent::onRapid>, Vector3D const& end, unsigned int flags);
    bool on(Tag<NCEvent::onRapid5D>, Vector3D const& end, Vector3D const& direction, unsigned int flags);
    bool on(Tag<NCEvent::onLinear>, Vector3D const& end, double feed, unsigned int flags);
    bool on(Tag<NCEvent::onLinear5D>, Vector3D const& end, Vector3D const& direction, double feed, unsigned int flags);
    bool on(Tag<NCEvent::onLinearExtrude>, Vector3D const& end, double feed, double extrusion);
    bool on(Tag<NCEvent::onCWArc>, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onCCWArc>, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onCircular>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double sweep, double feed, unsigned int flags);
    bool on(Tag<NCEvent::onCWArcExtrude>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCCWArcExtrude>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCircularExtrude>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double sweep, double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCWCircle>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onCCWCircle>, Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onSpline>, Vector3D const& control1, Vector3D const& control2, Vector3D const& end,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onBezier>, Vector3D const& control1, Vector3D const& control2, Vector3D const& end,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onNURBS>, Vector3D const* controlPoints, unsigned int count, double const* knots,
        unsigned int knotCount, double feed, unsigned int flags);

    bool on(Tag<NCEvent::onSection>);
    bool on(Tag<NCEvent::onSectionEnd>);
    bool on(Tag<NCEvent::onContext>, NCContext const& newContext);
    bool on(Tag<NCEvent::onTool>, NCTool const& newTool);
    bool on(Tag<NCEvent::onDwell>, double time, unsigned int flags);
    bool on(Tag<NCEvent::onComment>, wchar_t const* comment);
    bool on(Tag<NCEvent::onComment>, char const* comment);
    template <typename Value>
    bool parameter(char const* name, Value value);
    bool on(Tag<NCEvent::onParameter>, char const* name, Point3D const& value) { return parameter(name, value); }
    bool on(Tag<NCEvent::onParameter>, char const* name, double const& value) { return parameter(name, value); }
    bool on(Tag<NCEvent::onParameter>, char const* name, int const& value) { return parameter(name, value); }
    bool on(Tag<NCEvent::onParameter>, char const* name, wchar_t const* value);
    bool on(Tag<NCEvent::onParameter>, char const* name, char const* value);

    RecordBuffer buffer;
    std::size_t batchSize;
    BatchHandler* handler;
    bool gather;
    std::uint64_t eventIndex = 0;
    std::uint64_t moveCount = 0; // moves handed to the handler
    std::int32_t currentSection = -1;
    std::int32_t currentTool = -1;
    std::int32_t sectionCount = 0;
    std::int64_t lastContext = -1;
    std::int64_t lastTool = -1;
    ProgramData data;
};

// The sink of count_events: how many events of each kind arrived (every call, counted by the
// name of its operation; the kinded parameter counts as the two parameters it sends, the
// four-vector five-axis moves as the two-vector forms they reduce to).
class CountingSink final : public NCStream {
public:
    std::array<std::uint64_t, NCEventCount> counts {};

    using NCStream::onLinear5D;
    using NCStream::onParameter;
    using NCStream::onRapid5D;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define QUARN_NC_MOVE_REDUCIBLE(name, parameters, arguments)
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool name parameters override                                                                                     \
    {                                                                                                                 \
        ++counts[static_cast<std::size_t>(NCEvent::name)];                                                            \
        return true;                                                                                                  \
    }
#include "nc/nc/NCEvents.def"
#pragma GCC diagnostic pop
};

} // namespace Quarn::Python
