// Writing NC events as G-code blocks: numbers become scaled integers once, modal state is kept as
// those integers, and each line is made in a fixed buffer and written whole.
#include "nc/nc/io/GCodeWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/WriterOutput.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numbers>

namespace Quarn {

namespace {

constexpr std::int64_t Powers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
constexpr char AxisNames[] = {'X', 'Y', 'Z'};
constexpr double TwoPi = 2.0 * std::numbers::pi;
// Components of a unit normal or tool axis below this count as zero.
constexpr double DirectionTolerance = 1e-9;
// Scaled numbers below this magnitude are rounded in double arithmetic: the product's error stays
// far below the window in which a tie is handed to std::to_chars.
constexpr double FastScaleLimit = 1099511627776.0; // 2^40
constexpr double TieWindow = 1e-3;
constexpr unsigned int MovementMask = NCStream::FLAG_MOVEMENT_LOW_MASK | NCStream::FLAG_MOVEMENT_BIT4;
constexpr double MillimetresPerInch = 25.4;

std::string_view view(char const* text) noexcept { return text != nullptr ? text : ""; }
std::wstring_view view(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

char upper(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool startsWithIgnoringCase(std::string_view text, std::string_view start) noexcept
{
    if (start.empty() || text.size() < start.size())
        return false;
    for (std::size_t i = 0; i < start.size(); ++i)
        if (upper(text[i]) != upper(start[i]))
            return false;
    return true;
}

bool isAlong(Vector3D const& unit, Vector3D const& direction) noexcept
{
    return std::fabs(unit.x - direction.x) <= DirectionTolerance && std::fabs(unit.y - direction.y) <= DirectionTolerance
        && std::fabs(unit.z - direction.z) <= DirectionTolerance;
}

// The index of the axis a unit vector lies along (either sense), or -1.
int axisOf(Vector3D const& unit) noexcept
{
    for (int i = 0; i < 3; ++i) {
        int const j = (i + 1) % 3;
        int const k = (i + 2) % 3;
        if (std::fabs(unit[j]) <= DirectionTolerance && std::fabs(unit[k]) <= DirectionTolerance)
            return i;
    }
    return -1;
}

// The angle from a to b about the unit normal n, in (-pi, pi].
double angleAbout(Vector3D const& a, Vector3D const& b, Vector3D const& n) noexcept
{
    return std::atan2(n.dot(a.cross(b)), a.dot(b));
}

// The sweep of an arc about its normal for the sense: in (0, 2pi] counter-clockwise, in
// [-2pi, 0) clockwise; an arc that does not turn at all is a full turn.
double sweepOf(double angle, bool counterClockwise) noexcept
{
    if (counterClockwise)
        return angle > 0.0 ? angle : angle + TwoPi;
    return angle < 0.0 ? angle : angle - TwoPi;
}

// Restores a flag when an event's work is done, thrown or not.
class FlagGuard {
public:
    explicit FlagGuard(bool& flag) noexcept : flag(flag) { flag = true; }
    ~FlagGuard() { flag = false; }
    FlagGuard(FlagGuard const&) = delete;
    FlagGuard& operator=(FlagGuard const&) = delete;

private:
    bool& flag;
};

} // namespace

GCodeWriter::GCodeWriter(OutputStream* stream, GCodeDialect const& dialect)
    : out(stream, WriterOutput::BufferSize), dialect(dialect)
{
    axisLetters.append(dialect.rotaryAxisLetters).append(dialect.linearAxisLetters);
    if (axisLetters.size() > MaximumAxes - 3)
        axisLetters.resize(MaximumAxes - 3);
    updateDecimals();
}

GCodeWriter::~GCodeWriter() = default;

// --- Settings.

void GCodeWriter::setDecimals(unsigned int value) noexcept
{
    decimalsSetting = std::min(value, MaximumDecimals);
    updateDecimals();
}

void GCodeWriter::setLineNumbers(unsigned int start, unsigned int step) noexcept
{
    lineNumberStart = start;
    lineNumberStep = step;
    nextLineNumber = start;
}

void GCodeWriter::setArcTolerance(double millimetres) noexcept
{
    arcTolerance = std::isfinite(millimetres) && millimetres > 0.0 ? millimetres : 0.001;
}

void GCodeWriter::updateDecimals() noexcept
{
    unsigned int const wanted = decimalsSetting != 0 ? decimalsSetting : dialect.defaultDecimals[unit];
    unsigned int const next = std::min(wanted, MaximumDecimals);
    if (next != decimals)
        forgetPositions();
    decimals = next;
    power = static_cast<double>(Powers[decimals]);
}

// --- Numbers and lines.

void GCodeWriter::refuse(std::wstring_view reason) const
{
    refusing = true;
    std::wstring message = L"Cannot write line " + std::to_wstring(linesWritten + 1) + L": ";
    message += reason;
    throw IOException(message, out.getPosition());
}

GCodeWriter::Scaled GCodeWriter::scale(double value) const
{
    if (!std::isfinite(value))
        refuse(L"Not a finite number.");
    if (std::fabs(value) >= MaximumMagnitude)
        refuse(L"Number out of range.");
    double const scaled = value * power;
    if (std::fabs(scaled) < FastScaleLimit) {
        double const floor = std::floor(scaled);
        double const fraction = scaled - floor;
        if (std::fabs(fraction - 0.5) > TieWindow)
            return static_cast<Scaled>(fraction < 0.5 ? floor : floor + 1.0);
    }
    // Near a tie, or too many digits for the product to be exact: the decimal digits of the
    // double itself decide, as std::to_chars rounds them.
    char buffer[64];
    char const* const end
        = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, static_cast<int>(decimals))
              .ptr;
    Scaled digits = 0;
    bool negative = false;
    for (char const* p = buffer; p != end; ++p) {
        if (*p == '-')
            negative = true;
        else if (*p >= '0' && *p <= '9')
            digits = digits * 10 + (*p - '0');
    }
    return negative ? -digits : digits;
}

void GCodeWriter::beginLine() noexcept { line.size = 0; }

void GCodeWriter::appendText(std::string_view words) noexcept
{
    std::memcpy(line.text + line.size, words.data(), words.size());
    line.size += words.size();
}

void GCodeWriter::appendWord(std::string_view word) noexcept
{
    if (word.empty())
        return;
    if (line.size != 0)
        line.text[line.size++] = ' ';
    appendText(word);
}

void GCodeWriter::appendNumber(char letter, Scaled value) noexcept
{
    char* p = line.text + line.size;
    if (line.size != 0)
        *p++ = ' ';
    *p++ = letter;
    std::uint64_t magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        *p++ = '-';
        magnitude = 0 - magnitude;
    }
    std::uint64_t const unit = static_cast<std::uint64_t>(Powers[decimals]);
    p = std::to_chars(p, p + 24, magnitude / unit).ptr;
    std::uint64_t fraction = magnitude % unit;
    if (fraction != 0) {
        *p = '.';
        unsigned int digits = decimals;
        while (fraction % 10 == 0) {
            fraction /= 10;
            --digits;
        }
        for (unsigned int i = digits; i > 0; --i) {
            p[i] = static_cast<char>('0' + fraction % 10);
            fraction /= 10;
        }
        p += digits + 1;
    } else if (dialect.wholeNumbersKeepPoint) {
        *p++ = '.';
    }
    line.size = static_cast<std::size_t>(p - line.text);
}

void GCodeWriter::appendInteger(char letter, std::uint64_t value) noexcept
{
    char* p = line.text + line.size;
    if (line.size != 0)
        *p++ = ' ';
    *p++ = letter;
    p = std::to_chars(p, p + 24, value).ptr;
    line.size = static_cast<std::size_t>(p - line.text);
}

void GCodeWriter::emit(std::string_view bytes, bool numbered)
{
    std::uint64_t const start = out.getPosition();
    try {
        if (numbered && lineNumberStep != 0) {
            char number[32];
            number[0] = dialect.lineNumberLetter;
            char* const end = std::to_chars(number + 1, number + sizeof number - 1, nextLineNumber).ptr;
            *end = ' ';
            out.writeBytes(number, static_cast<std::size_t>(end + 1 - number));
        }
        out.writeBytes(bytes.data(), bytes.size());
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot write line " + std::to_wstring(linesWritten + 1), start, e);
    }
    if (numbered)
        nextLineNumber += lineNumberStep;
    ++linesWritten;
}

void GCodeWriter::emitLine()
{
    if (!preambleWritten) {
        // The first line of a program without a context: the safe start of a default one first.
        Line const made = line;
        applyContext(NCContext());
        line = made;
    }
    line.text[line.size++] = '\n';
    emit({line.text, line.size}, true);
}

void GCodeWriter::emitText(std::string_view bytes, bool numbered)
{
    text.assign(bytes);
    text += '\n';
    emit(text, numbered);
}

void GCodeWriter::writeWordLine(std::string_view word)
{
    beginLine();
    appendWord(word);
    emitLine();
}

void GCodeWriter::countFlags(unsigned int flags, unsigned int allowed) noexcept
{
    if ((flags & ~(allowed | MovementMask)) != 0)
        countLeftOut(LeftOutValue::Flags);
}

// --- Context.

void GCodeWriter::forgetPositions() noexcept
{
    for (Modal& axis : axes)
        axis.known = false;
    feed.known = false;
}

std::string_view GCodeWriter::workOffsetWord(unsigned int number) const
{
    std::size_t index = dialect.workOffsetWords.size();
    if (number == 0)
        index = 0;
    else if (number <= dialect.workOffsetWords.size())
        index = number - 1;
    else if (number >= 54 && number <= 59)
        index = number - 54;
    if (index >= dialect.workOffsetWords.size() || dialect.workOffsetWords[index].empty())
        refuse(L"Work offset " + std::to_wstring(number) + L" has no word in this dialect.");
    return dialect.workOffsetWords[index];
}

void GCodeWriter::applyContext(NCContext const& context)
{
    NCUnit::Unit const newUnit = NCUnit::isUnit(context.getUnit()) ? context.getUnit() : NCUnit::MILLIMETERS;
    unsigned int const newFeedMode
        = context.getFeedMode() <= NCContext::FEED_INVERSE_TIME ? static_cast<unsigned int>(context.getFeedMode()) : 0u;
    std::string_view const newWorkOffset = workOffsetWord(context.getWorkOffset());
    NCContext mapped(context);
    mapped.convertWorkViewToWCS();
    Matrix3x3 const newPlane = mapped.getPlane();
    Vector3D const newOrigin = mapped.getOrigin();
    if (!newPlane.isFinite() || !newOrigin.isFinite())
        refuse(L"Not a finite number.");

    if (!preambleWritten) {
        preambleWritten = true;
        beginLine();
        appendWord(dialect.unitWords[newUnit]);
        appendWord(dialect.absoluteWord);
        appendWord(dialect.planeWords[2]);
        appendWord(dialect.feedModeWords[newFeedMode]);
        appendWord(dialect.compensationOffWord);
        appendWord(dialect.lengthOffsetCancelWord);
        appendWord(dialect.cycleCancelWord);
        appendWord(dialect.incrementalArcCenterWord);
        emitLine();
        writeWordLine(newWorkOffset);
        selectedPlane = 2;
        motion = Motion::None;
    } else if (newUnit != unit || newFeedMode != feedMode || newWorkOffset != workOffset) {
        beginLine();
        if (newUnit != unit)
            appendWord(dialect.unitWords[newUnit]);
        if (newFeedMode != feedMode)
            appendWord(dialect.feedModeWords[newFeedMode]);
        if (newWorkOffset != workOffset)
            appendWord(newWorkOffset);
        emitLine();
    }
    if (newUnit != unit && positionKnown)
        position *= NCUnit::getUnitConversionFactor(unit, newUnit);
    unit = newUnit;
    feedMode = newFeedMode;
    workOffset = newWorkOffset;
    plane = newPlane;
    origin = newOrigin;
    multiAxisMode = context.getMultiAxisMode();
    identity = plane == Matrix3x3() && origin == Vector3D();
    forgetPositions();
    updateDecimals();
}

// --- Moves.

GCodeWriter::Scaled GCodeWriter::feedFor(double feedrate)
{
    if (!std::isfinite(feedrate))
        refuse(L"Not a finite number.");
    Scaled const scaled = feedrate > 0.0 ? scale(feedrate) : 0;
    if (scaled > 0)
        return scaled;
    if (!feed.known)
        refuse(L"A feed move needs a feedrate.");
    countLeftOut(LeftOutValue::Feed);
    return feed.value;
}

void GCodeWriter::writeMove(Motion kind, Vector3D const& end, double feedrate)
{
    Scaled const target[3] = {scale(end.x), scale(end.y), scale(end.z)};
    std::array<Scaled, MaximumAxes> extra {};
    if (pendingAny)
        for (std::size_t i = 0; i < axisLetters.size(); ++i)
            if (pending[3 + i].present)
                extra[3 + i] = scale(pending[3 + i].value);
    Scaled const speed = kind == Motion::Linear ? feedFor(feedrate) : 0;

    bool const endCycle = cannedActive;
    Motion const current = endCycle ? Motion::None : motion;
    beginLine();
    if (kind != current)
        appendWord(kind == Motion::Rapid ? dialect.rapidWord : dialect.linearWord);
    bool moves = false;
    for (int i = 0; i < 3; ++i) {
        if (!axes[i].known || axes[i].value != target[i]) {
            appendNumber(AxisNames[i], target[i]);
            moves = true;
        }
    }
    if (pendingAny) {
        for (std::size_t i = 0; i < axisLetters.size(); ++i) {
            Modal const& axis = axes[3 + i];
            if (pending[3 + i].present && (!axis.known || axis.value != extra[3 + i])) {
                appendNumber(axisLetters[i], extra[3 + i]);
                moves = true;
            }
        }
    }
    if (!moves) {
        pending.fill({});
        pendingAny = false;
        return;
    }
    if (kind == Motion::Linear && (!feed.known || feed.value != speed || feedMode == NCContext::FEED_INVERSE_TIME))
        appendNumber(dialect.feedLetter, speed);
    if (endCycle)
        endCanned();
    emitLine();

    motion = kind;
    for (int i = 0; i < 3; ++i) {
        axes[i] = {true, target[i]};
        position[i] = unscale(target[i]);
    }
    positionKnown = true;
    if (pendingAny) {
        for (std::size_t i = 0; i < axisLetters.size(); ++i)
            if (pending[3 + i].present)
                axes[3 + i] = {true, extra[3 + i]};
        pending.fill({});
        pendingAny = false;
    }
    if (kind == Motion::Linear)
        feed = {true, speed};
}

bool GCodeWriter::pendingRotates() const noexcept
{
    bool rotates = false;
    if (pendingAny)
        for (std::size_t i = 0; i < dialect.rotaryAxisLetters.size() && i < axisLetters.size(); ++i)
            rotates = rotates || pending[3 + i].present;
    return rotates;
}

void GCodeWriter::setDirectionAxes(Vector3D const& direction)
{
    for (int i = 0; i < 3; ++i) {
        std::size_t const slot = dialect.rotaryAxisLetters.size() > static_cast<std::size_t>(i)
            ? static_cast<std::size_t>(i)
            : axisLetters.size();
        if (slot < axisLetters.size()) {
            pending[3 + slot] = {true, direction[i]};
            pendingAny = true;
        }
    }
}

bool GCodeWriter::holdsAxisValues(Vector3D const& direction, unsigned int flags) const noexcept
{
    if ((flags & FLAG_ABSOLUTE_DIRECTION) != 0)
        return false;
    if (multiAxisMode == NCContext::MULTI_AXIS_UNCHECKED)
        return true;
    // A context of unit tool axes has no other: a direction of another length holds values.
    return multiAxisMode == NCContext::MULTI_AXIS_UNIT_VECTOR
        && !(std::fabs(direction.getModulus() - 1.0) <= DirectionTolerance);
}

void GCodeWriter::fiveAxis(
    NCEvent event, Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags, bool rapid)
{
    settle();
    bool const values = holdsAxisValues(direction, flags);
    if (rapid && isHoleGroup() && !values) {
        writeHole(end, direction.getNormalized());
        countFlags(flags, FLAG_ABSOLUTE_DIRECTION);
        return;
    }
    held = {true, event, end, direction, feedrate, flags, rapid};
    // Values sent before the move are its own; otherwise, once the stream names machine axes, the
    // next event tells whether some follow.
    if (pendingAny || expanding || orderingSlots.empty()) {
        // Nothing can follow that is the move's own: it is this event's, and so is a refusal.
        settle();
        finish();
    }
}

void GCodeWriter::settle()
{
    if (!held.present)
        return;
    refusing = false;
    try {
        writeHeld();
    } catch (IOException const& e) {
        // A refused waiting move must not take the event that revealed it along: that event is
        // written, and the refusal thrown when it is done.
        if (!refusing)
            throw;
        deferred = e;
    }
}

bool GCodeWriter::finish(bool answer)
{
    if (deferred) {
        IOException const refusal = *deferred;
        deferred.reset();
        throw refusal;
    }
    return answer;
}

void GCodeWriter::writeHeld()
{
    Held const move = held;
    held.present = false;
    bool const values = holdsAxisValues(move.direction, move.flags);
    Vector3D const axis = turn(move.direction).getNormalized();
    bool rotates = pendingRotates();
    if (!rotates && values) {
        setDirectionAxes(move.direction);
        rotates = true;
    } else if (!rotates && (!toolAxisKnown || !isAlong(toolAxis, axis))) {
        pending.fill({});
        pendingAny = false;
        std::string_view const name = getEventName(move.event);
        refuse(std::wstring(name.begin(), name.end()) + L" has a tool axis but no machine axis values.");
    }
    writeMove(move.rapid ? Motion::Rapid : Motion::Linear, map(move.end), move.feedrate);
    if (!values && rotates) {
        toolAxis = axis;
        toolAxisKnown = axis.isFinite() && axis.getSquareModulus() > 0.0;
    } else if (rotates) {
        toolAxisKnown = false;
    }
    countFlags(move.flags, FLAG_ABSOLUTE_DIRECTION);
}

bool GCodeWriter::belongsToHeld(AxisValues const& values) const
{
    // Positions in millimetres: those of the ordering's X, Y and Z, if it has them, must be the
    // held move's end.
    double const toMillimetres = unit == NCUnit::INCHES ? MillimetresPerInch : 1.0;
    Vector3D const end = map(held.end) * toMillimetres;
    for (int k = 0; k < 3; ++k) {
        int const index = orderingXYZ[static_cast<std::size_t>(k)];
        if (index >= 0 && index < values.size() && !(std::fabs(values[index].value() - end[k]) <= 1e-4))
            return false;
    }
    return true;
}

void GCodeWriter::selectPlane(int axis)
{
    if (selectedPlane != axis)
        appendWord(dialect.planeWords[static_cast<std::size_t>(axis)]);
}

void GCodeWriter::writeArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double const* sweep,
    bool counterClockwise, bool circle, double feedrate, unsigned int flags)
{
    settle();
    Vector3D const c = map(center);
    Vector3D const e = map(end);
    Vector3D const turned = turn(normal);
    double const length = turned.getModulus();
    if (!std::isfinite(length) || length == 0.0)
        refuse(L"Arc normal of zero length.");
    Vector3D const n = turned / length;
    if (!positionKnown)
        refuse(L"An arc needs a start: no move before it.");
    Scaled const target[3] = {scale(e.x), scale(e.y), scale(e.z)};
    for (int i = 0; i < 3; ++i)
        static_cast<void>(scale(c[i]));
    if (sweep != nullptr && !std::isfinite(*sweep))
        refuse(L"Not a finite number.");
    Vector3D const s = position;

    // The sweep about n, counter-clockwise positive.
    Vector3D const fromCenter = s - c;
    Vector3D const toEnd = e - c;
    Vector3D const radialStart = fromCenter - n * fromCenter.dot(n);
    Vector3D const radialEnd = toEnd - n * toEnd.dot(n);
    double swept = 0.0;
    if (sweep != nullptr)
        swept = *sweep;
    else if (circle)
        swept = counterClockwise ? TwoPi : -TwoPi;
    else
        swept = sweepOf(angleAbout(radialStart, radialEnd, n), counterClockwise);
    if (swept == 0.0) {
        writeMove(Motion::Linear, e, feedrate);
        countFlags(flags, 0);
        return;
    }

    int const k = axisOf(n);
    if (k < 0) {
        writeArcAsLines(s, c, e, n, swept, feedrate);
        countFlags(flags, 0);
        return;
    }
    double const sense = n[k] > 0.0 ? 1.0 : -1.0;
    double const about = swept * sense; // about the positive axis
    bool const positive = about > 0.0;
    double const magnitude = std::fabs(about);
    int const a = (k + 1) % 3;
    int const b = (k + 2) % 3;

    Scaled const startA = scale(s[a]);
    Scaled const startB = scale(s[b]);
    bool const closed = startA == target[a] && startB == target[b];
    if (closed && magnitude < std::numbers::pi) {
        // Ends where it starts, as written, but turns little: a full circle would be wrong.
        writeMove(Motion::Linear, e, feedrate);
        countFlags(flags, 0);
        return;
    }

    // The arc as the control will read it, from the written start to the written end about the
    // written centre: its radii within the control's check, and turning as meant.
    double const sa = s[a], sb = s[b];
    double const ea = unscale(target[a]), eb = unscale(target[b]);
    double const toMillimetres = unit == NCUnit::INCHES ? MillimetresPerInch : 1.0;
    double meant = std::fmod(magnitude, TwoPi);
    if (meant == 0.0)
        meant = TwoPi;
    Scaled offsetA = 0, offsetB = 0;
    double partial = TwoPi;
    auto readable = [&](double ca, double cb) {
        offsetA = scale(ca - sa);
        offsetB = scale(cb - sb);
        double const wa = sa + unscale(offsetA), wb = sb + unscale(offsetB);
        double const r1 = std::hypot(sa - wa, sb - wb);
        double const r2 = std::hypot(ea - wa, eb - wb);
        double const difference = std::fabs(r1 - r2) * toMillimetres;
        if (!(r1 > 0.0 && difference <= 0.25 && (difference <= 0.0025 || difference <= 0.0005 * r1 * toMillimetres)))
            return false;
        if (closed)
            return true;
        double const angle = std::atan2(
            (sa - wa) * (eb - wb) - (sb - wb) * (ea - wa), (sa - wa) * (ea - wa) + (sb - wb) * (eb - wb));
        partial = std::fabs(sweepOf(angle, positive));
        return std::fabs(partial - meant) <= 0.5;
    };
    // The centre as given; else moved onto the bisector of the written start and end, where both
    // radii agree (which moves it further for short chords, so only when needed).
    bool passes = readable(c[a], c[b]);
    if (!passes && !closed) {
        double const ma = (sa + ea) / 2.0, mb = (sb + eb) / 2.0;
        double const da = ea - sa, db = eb - sb;
        double const chord = std::hypot(da, db);
        double const ua = -db / chord, ub = da / chord;
        double const along = (c[a] - ma) * ua + (c[b] - mb) * ub;
        passes = readable(ma + ua * along, mb + ub * along);
    }
    if (!passes) {
        writeArcAsLines(s, c, e, n, swept, feedrate);
        countFlags(flags, 0);
        return;
    }
    long long const extraTurns = std::llround((magnitude - partial) / TwoPi);
    std::uint64_t const turnCount = extraTurns > 0 ? static_cast<std::uint64_t>(extraTurns) + 1 : 1;

    std::array<Scaled, MaximumAxes> extra {};
    if (pendingAny)
        for (std::size_t i = 0; i < axisLetters.size(); ++i)
            if (pending[3 + i].present)
                extra[3 + i] = scale(pending[3 + i].value);
    Scaled const speed = feedFor(feedrate);
    bool const rotates = pendingRotates();

    Motion const kind = positive ? Motion::CounterClockwise : Motion::Clockwise;
    bool const endCycle = cannedActive;
    Motion const current = endCycle ? Motion::None : motion;
    beginLine();
    selectPlane(k);
    if (kind != current || selectedPlane != k)
        appendWord(positive ? dialect.counterClockwiseArcWord : dialect.clockwiseArcWord);
    for (int i = 0; i < 3; ++i) {
        bool const inPlane = i != k;
        if (inPlane ? !closed && (!axes[i].known || axes[i].value != target[i])
                    : !axes[i].known || axes[i].value != target[i])
            appendNumber(AxisNames[i], target[i]);
    }
    if (pendingAny)
        for (std::size_t i = 0; i < axisLetters.size(); ++i)
            if (pending[3 + i].present && (!axes[3 + i].known || axes[3 + i].value != extra[3 + i]))
                appendNumber(axisLetters[i], extra[3 + i]);
    for (int i = 0; i < 3; ++i)
        if (i == a || i == b)
            appendNumber(dialect.arcCenterLetters[static_cast<std::size_t>(i)], i == a ? offsetA : offsetB);
    if (turnCount > 1)
        appendInteger(dialect.turnsLetter, turnCount);
    if (!feed.known || feed.value != speed || feedMode == NCContext::FEED_INVERSE_TIME)
        appendNumber(dialect.feedLetter, speed);
    if (endCycle)
        endCanned();
    emitLine();

    selectedPlane = k;
    motion = kind;
    for (int i = 0; i < 3; ++i) {
        if (i == k || !closed) {
            axes[i] = {true, target[i]};
            position[i] = unscale(target[i]);
        }
    }
    if (pendingAny) {
        for (std::size_t i = 0; i < axisLetters.size(); ++i)
            if (pending[3 + i].present)
                axes[3 + i] = {true, extra[3 + i]};
        pending.fill({});
        pendingAny = false;
    }
    feed = {true, speed};
    if (rotates)
        toolAxisKnown = false;
    countFlags(flags, 0);
}

void GCodeWriter::writeArcAsLines(
    Vector3D const& start, Vector3D const& center, Vector3D const& end, Vector3D const& axis, double sweep, double feedrate)
{
    Vector3D const fromCenter = start - center;
    Vector3D const toEnd = end - center;
    double const startHeight = fromCenter.dot(axis);
    double const endHeight = toEnd.dot(axis);
    Vector3D const radialStart = fromCenter - axis * startHeight;
    Vector3D const radialEnd = toEnd - axis * endHeight;
    double const startRadius = radialStart.getModulus();
    double const endRadius = radialEnd.getModulus();
    double const tolerance = arcTolerance / (unit == NCUnit::INCHES ? MillimetresPerInch : 1.0);
    double const radius = std::max(startRadius, endRadius);

    // Every point lies within this distance of the centre: checked before the first line.
    double const reach = radius + std::max(std::fabs(startHeight), std::fabs(endHeight));
    for (int i = 0; i < 3; ++i) {
        static_cast<void>(scale(center[i] + reach));
        static_cast<void>(scale(center[i] - reach));
    }
    std::uint64_t count = 1;
    if (startRadius > 0.0 && radius > tolerance) {
        double const step = 2.0 * std::acos(1.0 - tolerance / radius);
        double const segments = std::ceil(std::fabs(sweep) / step);
        if (!(segments <= static_cast<double>(MaximumArcLines)))
            refuse(L"The arc needs more than 1000000 lines within the tolerance.");
        count = std::max<std::uint64_t>(1, static_cast<std::uint64_t>(segments));
    }
    // The feed as it will be written, so that a missing one is counted once.
    double const speed = unscale(feedFor(feedrate));

    Vector3D const u = startRadius > 0.0 ? radialStart / startRadius : Vector3D();
    Vector3D const v = axis.cross(u);
    for (std::uint64_t j = 1; j < count; ++j) {
        double const t = static_cast<double>(j) / static_cast<double>(count);
        double const angle = t * sweep;
        double const r = startRadius + t * (endRadius - startRadius);
        double const h = startHeight + t * (endHeight - startHeight);
        writeMove(Motion::Linear, center + (u * std::cos(angle) + v * std::sin(angle)) * r + axis * h, speed);
    }
    writeMove(Motion::Linear, end, speed);
    ++linearisedArcs;
}

// --- Hole cycles.

void GCodeWriter::beginCycleGroup(NCCycle::Cycle cycle)
{
    cycleGroupDepth = groupDepth;
    cycleDefinition = NCCycleDefinition(cycle);
    cycleValuesSeen = false;
    holesWritten = 0;
}

void GCodeWriter::endCanned()
{
    if (!cannedActive)
        return;
    // The move that follows may already be made in the line buffer: this line goes out by itself.
    emitText(dialect.cycleCancelWord, true);
    cannedActive = false;
    motion = Motion::None;
}

void GCodeWriter::writeHole(Vector3D const& top, Vector3D const& axis)
{
    NCCycleDefinition const& d = cycleDefinition;
    Vector3D const bottom = top - axis * d.getValue(NCCycleDefinition::VALUE_DEPTH);
    if (std::optional<std::wstring> const problem = d.checkHole(top, bottom))
        refuse(*problem);

    NCCycle::Cycle const cycle = d.getCycle();
    double const dwell = d.getValue(NCCycleDefinition::VALUE_DWELL);
    double const firstPeck = d.getValue(NCCycleDefinition::VALUE_FIRST_PECK);
    double const subsequentPeck = d.getValue(NCCycleDefinition::VALUE_SUBSEQUENT_PECK);
    std::optional<GCodeDialect::CannedCycle> const canned = dialect.findCannedCycle(cycle);
    bool const dwells = cycle != NCCycle::CYCLE_DRILLING && dwell > 0.0;
    std::string_view word;
    if (canned && isAlong(Vector3D(0.0, 0.0, 1.0), turn(axis).getNormalized())
        && feedMode != NCContext::FEED_INVERSE_TIME)
        word = dwells ? canned->dwellingWord : canned->word;
    if (!word.empty() && canned->peck && !(firstPeck > 0.0 && (subsequentPeck <= 0.0 || subsequentPeck == firstPeck)))
        word = {};
    Vector3D const t = map(top);
    Scaled const x = scale(t.x);
    Scaled const y = scale(t.y);
    Scaled const z = scale(map(bottom).z);
    Scaled const r = scale(
        map(NCCycleDefinition::getPointAtHeight(top, bottom, d.getValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT)))
            .z);
    // The canned cycle feeds down from R to Z.
    if (r < z)
        word = {};
    if (word.empty()) {
        // The moves of the hole; the first of them ends an open canned cycle.
        if (NCCycleDefinition::isExpandable(cycle)) {
            FlagGuard const guard(expanding);
            d.expandHole(*this, top, bottom);
            ++holesWritten;
        }
        return;
    }
    bool const writesDwell = dwells || canned->dwellRequired;

    Scaled const clearance
        = scale(map(NCCycleDefinition::getPointAtHeight(top, bottom, d.getValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT))).z);
    Scaled const q = canned->peck ? scale(firstPeck) : 0;
    Scaled const p = writesDwell ? scale(std::max(dwell, 0.0)) : 0;
    Scaled const speed = feedFor(d.getValue(NCCycleDefinition::VALUE_FEEDRATE));

    if (cannedActive && word != cannedWord)
        endCanned();
    beginLine();
    if (!cannedActive) {
        if (!axes[2].known || axes[2].value != clearance) {
            if (motion != Motion::Rapid)
                appendWord(dialect.rapidWord);
            appendNumber('Z', clearance);
            emitLine();
            motion = Motion::Rapid;
            axes[2] = {true, clearance};
            position.z = unscale(clearance);
            beginLine();
        }
        selectPlane(2);
        appendWord(dialect.returnToInitialWord);
        appendWord(word);
        appendNumber('X', x);
        appendNumber('Y', y);
        appendNumber('Z', z);
        appendNumber(dialect.referenceLetter, r);
        if (canned->peck)
            appendNumber(dialect.peckLetter, q);
        if (writesDwell)
            appendNumber(dialect.dwellLetter, p);
        cannedReturn = std::max(clearance, r);
    } else {
        bool const movesX = !axes[0].known || axes[0].value != x;
        bool const movesY = !axes[1].known || axes[1].value != y;
        // A line without an axis drills nothing: the same hole again names its X.
        if (movesX || !movesY)
            appendNumber('X', x);
        if (movesY)
            appendNumber('Y', y);
        if (cannedZ.value != z)
            appendNumber('Z', z);
        if (cannedR.value != r)
            appendNumber(dialect.referenceLetter, r);
        if (canned->peck && cannedQ.value != q)
            appendNumber(dialect.peckLetter, q);
        if (writesDwell && cannedP.value != p)
            appendNumber(dialect.dwellLetter, p);
    }
    if (!feed.known || feed.value != speed)
        appendNumber(dialect.feedLetter, speed);
    emitLine();

    if (!cannedActive)
        selectedPlane = 2;
    cannedActive = true;
    cannedWord = word;
    cannedZ = {true, z};
    cannedR = {true, r};
    cannedQ = {true, q};
    cannedP = {true, p};
    motion = Motion::Cycle;
    feed = {true, speed};
    axes[0] = {true, x};
    axes[1] = {true, y};
    axes[2] = {true, cannedReturn};
    position = Vector3D(unscale(x), unscale(y), unscale(cannedReturn));
    positionKnown = true;
    ++holesWritten;
}

// --- Text.

void GCodeWriter::writeComment(std::string_view comment)
{
    text.clear();
    text += dialect.commentOpen;
    std::size_t const body = text.size();
    for (char c : comment) {
        if (c == dialect.commentOpen)
            c = dialect.commentOpenReplacement;
        else if (c == dialect.commentClose)
            c = dialect.commentCloseReplacement;
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = dialect.controlReplacement;
        text += c;
    }
    std::size_t const first = text.find_first_not_of(" \t", body);
    if (first != std::string::npos) {
        std::string_view const rest = std::string_view(text).substr(first);
        for (std::string_view start : dialect.activeCommentStarts) {
            if (startsWithIgnoringCase(rest, start)) {
                text.insert(body, dialect.activeCommentNeutraliser);
                break;
            }
        }
    }
    text += dialect.commentClose;
    text += '\n';
    emit(text, true);
}

bool GCodeWriter::onComment(char const* comment)
{
    settle();
    writeComment(view(comment));
    return finish();
}

bool GCodeWriter::onComment(wchar_t const* comment)
{
    settle();
    std::string utf8;
    Unicode::appendUTF8(utf8, view(comment));
    writeComment(utf8);
    return finish();
}

bool GCodeWriter::passThrough(char const* bytes)
{
    settle();
    emitText(view(bytes), false);
    return finish();
}

bool GCodeWriter::passThrough(wchar_t const* wide)
{
    settle();
    text.clear();
    Unicode::appendUTF8(text, view(wide));
    text += '\n';
    emit(text, false);
    return finish();
}

// --- Machine state.

void GCodeWriter::writeCoolant(unsigned int coolant)
{
    auto const& words = dialect.coolantWords[coolant];
    for (std::string_view word : words)
        if (!word.empty())
            writeWordLine(word);
    coolantOn = coolant != NCTool::COOLANT_NONE;
}

void GCodeWriter::writeSpindle(double rpm, bool clockwise)
{
    beginLine();
    appendNumber(dialect.spindleSpeedLetter, scale(rpm));
    appendWord(clockwise ? dialect.spindleClockwiseWord : dialect.spindleCounterClockwiseWord);
    emitLine();
    spindleOn = true;
}

bool GCodeWriter::onTool(NCTool const& tool)
{
    settle();
    double const rpm = tool.getSpindleRPM();
    if (!std::isfinite(rpm))
        refuse(L"Not a finite number.");
    if (rpm > 0.0)
        static_cast<void>(scale(rpm));
    if (cannedActive)
        endCanned();
    if (tool.getNumber() != 0) {
        beginLine();
        appendInteger(dialect.toolLetter, tool.getNumber());
        appendWord(dialect.toolChangeWord);
        emitLine();
        beginLine();
        appendWord(dialect.lengthOffsetWord);
        appendInteger(
            dialect.lengthOffsetLetter, tool.getLengthOffset() != 0 ? tool.getLengthOffset() : tool.getNumber());
        emitLine();
    }
    spindleClockwise = tool.getSpindleDirection();
    spindleSpeed = rpm > 0.0 ? rpm : 0.0;
    if (rpm > 0.0) {
        writeSpindle(rpm, spindleClockwise);
    } else if (spindleOn) {
        writeWordLine(dialect.spindleStopWord);
        spindleOn = false;
    }
    unsigned int const coolant = tool.getCoolant();
    if (coolant < NCTool::COOLANT_COUNT && !dialect.coolantWords[coolant][0].empty()
        && (coolant != NCTool::COOLANT_NONE || coolantOn))
        writeCoolant(coolant);
    return finish();
}

bool GCodeWriter::onSpindleSpeed(double speed)
{
    settle();
    if (!std::isfinite(speed))
        refuse(L"Not a finite number.");
    if (speed < 0.0)
        refuse(L"Negative spindle speed.");
    // S is modal: the speed the tool or the last S set is not written again.
    if (spindleOn && speed == spindleSpeed)
        return finish();
    beginLine();
    appendNumber(dialect.spindleSpeedLetter, scale(speed));
    emitLine();
    spindleSpeed = speed;
    return finish();
}

bool GCodeWriter::onCoolant(unsigned int coolant, CoolantLevel level)
{
    settle();
    if (coolant >= NCTool::COOLANT_COUNT || dialect.coolantWords[coolant][0].empty()) {
        countLeftOut(NCEvent::onCoolant);
        return finish(NCStreamDefaultImpl::onCoolant(coolant, level));
    }
    writeCoolant(coolant);
    return finish();
}

bool GCodeWriter::onCommand(Command command)
{
    settle();
    std::string_view word;
    if (command == COMMAND_START_SPINDLE)
        word = spindleClockwise ? dialect.spindleClockwiseWord : dialect.spindleCounterClockwiseWord;
    else if (command < COMMAND_COUNT && command != COMMAND_END)
        word = dialect.commandWords[command];
    if (word.empty()) {
        countLeftOut(NCEvent::onCommand);
        return finish(NCStreamDefaultImpl::onCommand(command));
    }
    // Turning on what already runs the same way writes nothing; stops are always written.
    bool const running = (command == COMMAND_SPINDLE_CLOCKWISE && spindleOn && spindleClockwise)
        || (command == COMMAND_SPINDLE_COUNTERCLOCKWISE && spindleOn && !spindleClockwise)
        || (command == COMMAND_START_SPINDLE && spindleOn) || (command == COMMAND_COOLANT_ON && coolantOn);
    if (running)
        return finish();
    writeWordLine(word);
    switch (command) {
    case COMMAND_SPINDLE_CLOCKWISE:
    case COMMAND_SPINDLE_COUNTERCLOCKWISE:
        spindleClockwise = command == COMMAND_SPINDLE_CLOCKWISE;
        spindleOn = true;
        break;
    case COMMAND_START_SPINDLE:
        spindleOn = true;
        break;
    case COMMAND_STOP_SPINDLE:
        spindleOn = false;
        break;
    case COMMAND_COOLANT_ON:
        coolantOn = true;
        break;
    case COMMAND_COOLANT_OFF:
        coolantOn = false;
        break;
    default:
        break;
    }
    return finish();
}

bool GCodeWriter::onRadiusCompensation(Compensation compensation)
{
    settle();
    if (compensation > COMPENSATION_RIGHT || dialect.compensationWords[compensation].empty()) {
        countLeftOut(NCEvent::onRadiusCompensation);
        return finish(NCStreamDefaultImpl::onRadiusCompensation(compensation));
    }
    writeWordLine(dialect.compensationWords[compensation]);
    return finish();
}

// --- Structure.

bool GCodeWriter::onOpen()
{
    linesWritten = 0;
    nextLineNumber = lineNumberStart;
    preambleWritten = false;
    unit = NCUnit::MILLIMETERS;
    feedMode = 0;
    workOffset = {};
    identity = true;
    plane = Matrix3x3();
    origin = Vector3D();
    motion = Motion::None;
    selectedPlane = -1;
    forgetPositions();
    positionKnown = false;
    position = Vector3D();
    toolAxisKnown = true;
    toolAxis = Vector3D(0.0, 0.0, 1.0);
    pending.fill({});
    pendingAny = false;
    held.present = false;
    orderingSlots.clear();
    orderingXYZ.fill(-1);
    multiAxisMode = 0;
    spindleSpeed = 0.0;
    spindleClockwise = true;
    spindleOn = false;
    coolantOn = false;
    groupDepth = 0;
    cycleGroupDepth = 0;
    cannedGroup = false;
    cannedActive = false;
    updateDecimals();
    emitText(dialect.programDelimiter, false);
    return true;
}

bool GCodeWriter::onClose()
{
    settle();
    if (pendingAny) {
        countLeftOut(NCEvent::onMachineAxisValues);
        pending.fill({});
        pendingAny = false;
    }
    endCanned();
    writeWordLine(dialect.programEndWord);
    emitText(dialect.programDelimiter, false);
    try {
        out.flush();
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot flush the output", out.getPosition(), e);
    }
    return finish();
}

bool GCodeWriter::onContext(NCContext const& context)
{
    settle();
    endCanned();
    applyContext(context);
    return finish();
}

bool GCodeWriter::onSection()
{
    settle();
    return finish();
}

bool GCodeWriter::onSectionEnd()
{
    settle();
    endCanned();
    return finish();
}

bool GCodeWriter::onGroup(char const* uri)
{
    settle();
    ++groupDepth;
    if (cycleGroupDepth == 0) {
        NCCycle::Cycle cycle = NCCycle::getWellKnownCycle(uri);
        std::string_view const name = view(uri);
        constexpr std::string_view Expanded = "/expanded";
        bool expanded = false;
        if (cycle == NCCycle::CYCLE_NONE && name.size() > Expanded.size() && name.ends_with(Expanded)) {
            text.assign(name.substr(0, name.size() - Expanded.size()));
            cycle = NCCycle::getWellKnownCycle(text.c_str());
            expanded = cycle != NCCycle::CYCLE_NONE;
        }
        if (cycle != NCCycle::CYCLE_NONE) {
            beginCycleGroup(cycle);
            // Counted at its end unless it makes a hole.
            cannedGroup = !expanded
                && (dialect.findCannedCycle(cycle).has_value() || NCCycleDefinition::isExpandable(cycle));
            if (cannedGroup)
                return finish();
        }
    }
    countLeftOut(NCEvent::onGroup);
    return finish(NCStreamDefaultImpl::onGroup(uri));
}

bool GCodeWriter::onGroupEnd()
{
    settle();
    if (groupDepth == 0) {
        countLeftOut(NCEvent::onGroupEnd);
        return finish(NCStreamDefaultImpl::onGroupEnd());
    }
    bool const endsCycleGroup = groupDepth == cycleGroupDepth;
    bool const written = endsCycleGroup && cannedGroup && holesWritten != 0;
    if (endsCycleGroup && cannedGroup) {
        endCanned();
        if (!written)
            countLeftOut(NCEvent::onGroup);
    }
    if (endsCycleGroup) {
        cycleGroupDepth = 0;
        cannedGroup = false;
    }
    --groupDepth;
    if (written)
        return finish();
    countLeftOut(NCEvent::onGroupEnd);
    return finish(NCStreamDefaultImpl::onGroupEnd());
}

// --- Moves.

bool GCodeWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    settle();
    if (isHoleGroup()) {
        writeHole(end, Vector3D(0.0, 0.0, 1.0));
        countFlags(flags, 0);
        return finish();
    }
    bool const rotates = pendingRotates();
    writeMove(Motion::Rapid, map(end), 0.0);
    if (rotates)
        toolAxisKnown = false;
    countFlags(flags, 0);
    return finish();
}

bool GCodeWriter::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    settle();
    bool const rotates = pendingRotates();
    writeMove(Motion::Linear, map(end), feedrate);
    if (rotates)
        toolAxisKnown = false;
    countFlags(flags, 0);
    return finish();
}

bool GCodeWriter::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    fiveAxis(NCEvent::onRapid5D, end, direction, 0.0, flags, true);
    return true;
}

bool GCodeWriter::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, unsigned int flags)
{
    bool const answer = onRapid5D(end, z, flags);
    countLeftOut(LeftOutValue::FiveAxisFrame);
    return answer;
}

bool GCodeWriter::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    fiveAxis(NCEvent::onLinear5D, end, direction, feedrate, flags, false);
    return true;
}

bool GCodeWriter::onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&,
    double feedrate, unsigned int flags)
{
    bool const answer = onLinear5D(end, z, feedrate, flags);
    countLeftOut(LeftOutValue::FiveAxisFrame);
    return answer;
}

bool GCodeWriter::onLinearExtrude(Vector3D const& end, double feedrate, double)
{
    onLinear(end, feedrate, 0);
    countLeftOut(LeftOutValue::Extrusion);
    return true;
}

bool GCodeWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, false, false, feedrate, flags);
    return true;
}

bool GCodeWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, true, false, feedrate, flags);
    return true;
}

bool GCodeWriter::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    writeArc(center, end, normal, &sweep, sweep > 0.0, false, feedrate, flags);
    return true;
}

bool GCodeWriter::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, false, false, feedrate, flags);
    countLeftOut(LeftOutValue::Extrusion);
    return true;
}

bool GCodeWriter::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, true, false, feedrate, flags);
    countLeftOut(LeftOutValue::Extrusion);
    return true;
}

bool GCodeWriter::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double, unsigned int flags)
{
    writeArc(center, end, normal, &sweep, sweep > 0.0, false, feedrate, flags);
    countLeftOut(LeftOutValue::Extrusion);
    return true;
}

bool GCodeWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, false, true, feedrate, flags);
    return true;
}

bool GCodeWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(center, end, normal, nullptr, true, true, feedrate, flags);
    return true;
}

bool GCodeWriter::onDwell(double time, unsigned int flags)
{
    settle();
    if (!std::isfinite(time))
        refuse(L"Not a finite number.");
    double seconds = time;
    if ((flags & FLAG_DWELL_REVOLUTIONS) != 0) {
        if (!(spindleSpeed > 0.0))
            refuse(L"A dwell in revolutions needs a spindle speed.");
        seconds = time * 60.0 / spindleSpeed;
    }
    if (seconds < 0.0)
        refuse(L"Negative dwell.");
    Scaled const scaled = scale(seconds);
    beginLine();
    appendWord(dialect.dwellWord);
    appendNumber(dialect.dwellLetter, scaled);
    emitLine();
    countFlags(flags, FLAG_DWELL_REVOLUTIONS);
    return finish();
}

// --- Machine axes.

bool GCodeWriter::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    settle();
    orderingSlots.assign(static_cast<std::size_t>(ordering.size()), -2);
    orderingXYZ.fill(-1);
    for (int i = 0; i < ordering.size(); ++i) {
        AxisName const axisName = ordering.axisName(i);
        std::string const& name = axisName.getName();
        if (name.size() != 1)
            continue;
        char const letter = upper(name[0]);
        if (letter >= 'X' && letter <= 'Z') {
            orderingSlots[static_cast<std::size_t>(i)] = -1;
            if (orderingXYZ[static_cast<std::size_t>(letter - 'X')] < 0)
                orderingXYZ[static_cast<std::size_t>(letter - 'X')] = i;
        } else if (std::size_t const slot = axisLetters.find(letter); slot != std::string::npos) {
            orderingSlots[static_cast<std::size_t>(i)] = static_cast<int>(slot);
        }
    }
    return finish();
}

bool GCodeWriter::onMachineAxisValues(AxisValues const& values)
{
    bool const forHeld = held.present && belongsToHeld(values);
    if (!forHeld)
        settle();
    // Values no move has taken are lost when the next ones come.
    bool lost = pendingAny;
    pending.fill({});
    pendingAny = false;
    std::size_t const rotary = dialect.rotaryAxisLetters.size();
    for (int i = 0; i < values.size(); ++i) {
        int const slot
            = static_cast<std::size_t>(i) < orderingSlots.size() ? orderingSlots[static_cast<std::size_t>(i)] : -2;
        if (slot == -2) {
            lost = true;
        } else if (slot >= 0) {
            double value = values[i].value();
            // Further linear axes travel in millimetres, and are written in the program's unit.
            if (static_cast<std::size_t>(slot) >= rotary && unit == NCUnit::INCHES)
                value /= MillimetresPerInch;
            pending[3 + static_cast<std::size_t>(slot)] = {true, value};
            pendingAny = true;
        }
    }
    if (lost)
        countLeftOut(NCEvent::onMachineAxisValues);
    if (forHeld)
        settle();
    return finish();
}

// --- Parameters: cycle values inside cycle groups are the cycle's; the rest is left out.

bool GCodeWriter::onParameter(char const* name, double value)
{
    if (isInCycleGroup() && cycleDefinition.setFromParameter(name, value)) {
        cycleValuesSeen = true;
        return true;
    }
    countLeftOut(NCEvent::onParameter);
    return NCStreamDefaultImpl::onParameter(name, value);
}

bool GCodeWriter::onParameter(char const* name, Point3D const& value)
{
    countLeftOut(NCEvent::onParameter);
    return NCStreamDefaultImpl::onParameter(name, value);
}

bool GCodeWriter::onParameter(char const* name, int value)
{
    countLeftOut(NCEvent::onParameter);
    return NCStreamDefaultImpl::onParameter(name, value);
}

bool GCodeWriter::onParameter(char const* name, wchar_t const* value)
{
    countLeftOut(NCEvent::onParameter);
    return NCStreamDefaultImpl::onParameter(name, value);
}

bool GCodeWriter::onParameter(char const* name, char const* value)
{
    countLeftOut(NCEvent::onParameter);
    return NCStreamDefaultImpl::onParameter(name, value);
}

// --- Left out: counted and answered as the base does.

bool GCodeWriter::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    countLeftOut(NCEvent::onToolpathEntityIndex);
    return NCStreamDefaultImpl::onToolpathEntityIndex(index);
}

bool GCodeWriter::onMachineCommand(unsigned int machineCommand)
{
    countLeftOut(NCEvent::onMachineCommand);
    return NCStreamDefaultImpl::onMachineCommand(machineCommand);
}

bool GCodeWriter::onRadiusCompensationMode(bool enable)
{
    countLeftOut(NCEvent::onRadiusCompensationMode);
    return NCStreamDefaultImpl::onRadiusCompensationMode(enable);
}

bool GCodeWriter::onStock(Vector3D const& lower, Vector3D const& upper)
{
    countLeftOut(NCEvent::onStock);
    return NCStreamDefaultImpl::onStock(lower, upper);
}

bool GCodeWriter::onToolChange()
{
    countLeftOut(NCEvent::onToolChange);
    return NCStreamDefaultImpl::onToolChange();
}

bool GCodeWriter::onTurnGroup(char const* name)
{
    countLeftOut(NCEvent::onTurnGroup);
    return NCStreamDefaultImpl::onTurnGroup(name);
}

bool GCodeWriter::onTurnGroupEnd()
{
    countLeftOut(NCEvent::onTurnGroupEnd);
    return NCStreamDefaultImpl::onTurnGroupEnd();
}

bool GCodeWriter::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onSpline);
    return NCStreamDefaultImpl::onSpline(control1, control2, end, feedrate, flags);
}

bool GCodeWriter::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onBezier);
    return NCStreamDefaultImpl::onBezier(control1, control2, end, feedrate, flags);
}

bool GCodeWriter::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onNURBS);
    return NCStreamDefaultImpl::onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

bool GCodeWriter::onSkip()
{
    countLeftOut(NCEvent::onSkip);
    return NCStreamDefaultImpl::onSkip();
}

bool GCodeWriter::onLineNumber(unsigned int number)
{
    countLeftOut(NCEvent::onLineNumber);
    return NCStreamDefaultImpl::onLineNumber(number);
}

bool GCodeWriter::onFrame(TaggedFrame const& frame)
{
    countLeftOut(NCEvent::onFrame);
    return NCStreamDefaultImpl::onFrame(frame);
}

} // namespace Quarn
