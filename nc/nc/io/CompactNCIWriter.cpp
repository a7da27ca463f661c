// Encoding of NC events as compact NCI records.
#include "nc/nc/io/CompactNCIWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycle.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIBlock.h"
#include "nc/nc/io/CompactNCIImpl.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "nc/nc/io/WriterOutput.h"
#include "util/utility/IOException.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Quarn {

namespace {

using Impl = CompactNCIImpl;

std::string_view view(char const* text) noexcept { return text != nullptr ? text : ""; }
std::wstring_view view(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

template <class Field> constexpr std::size_t fieldSize() noexcept
{
    if constexpr (std::is_same_v<Field, Vector3D>)
        return 12;
    else
        return 4;
}

void putField(CompactNCIWriteView block, std::size_t& at, Vector3D const& v) noexcept
{
    block.putVector(at, v);
    at += 12;
}

void putField(CompactNCIWriteView block, std::size_t& at, double value) noexcept
{
    block.putFloat(at, value);
    at += 4;
}

void putField(CompactNCIWriteView block, std::size_t& at, unsigned int value) noexcept
{
    block.putUInt32(at, value);
    at += 4;
}

// The lowest context revision that holds every field of the context that is not at its default.
std::uint32_t getContextCode(NCContext const& c, bool forceToolChange) noexcept
{
    std::uint32_t code = Impl::RECORD_CONTEXT_24;
    if (c.isUnknownSystem())
        code = Impl::RECORD_CONTEXT_28;
    if (c.getTiltMode() != 0 || c.isAxisSubstitution() || c.getQuality() > 0 || c.getWorkOffset() != 0)
        code = Impl::RECORD_CONTEXT_29;
    if (c.getSpindle() != 0 || c.getFeedMode() != 0 || c.isDisjoint() || c.getTailstock() || c.getPartCatcher())
        code = Impl::RECORD_CONTEXT_1031;
    if (forceToolChange || c.getInternalId() != 0 || c.getInternalGroupId() != 0 || c.getPatternId() != 0
        || c.getMultiAxisMode() != 0 || c.getChannel() != 0 || c.getJetMode() != 0 || c.isOptional()
        || c.getInverseAxisSubstitutionRadius() != 0.0)
        code = Impl::RECORD_CONTEXT_1034;
    if (c.getDynamicWorkOffset() != NCContext::NO_DYNAMIC_WORK_OFFSET)
        code = Impl::RECORD_CONTEXT_1036;
    if (!(c.getModelPlane() == Matrix3x3::getIdentity()))
        code = Impl::RECORD_CONTEXT_1037;
    return code;
}

std::uint32_t flags(std::initializer_list<bool> bits) noexcept
{
    std::uint32_t word = 0;
    std::uint32_t bit = 1;
    for (bool set : bits) {
        if (set)
            word |= bit;
        bit <<= 1;
    }
    return word;
}

// The texts of a tool that travel as wide-text parameters, in the order written.
std::array<std::pair<std::string const*, std::wstring const*>, 9> toolTextParameters(NCTool const& tool)
{
    return {{{&Impl::getToolDescriptionUri(), &tool.getDescription()}, {&Impl::getToolCommentUri(), &tool.getComment()},
        {&Impl::getToolVendorUri(), &tool.getVendor()}, {&Impl::getToolProductIdUri(), &tool.getProductId()},
        {&Impl::getToolHolderDescriptionUri(), &tool.getNestedDescription()},
        {&Impl::getToolHolderCommentUri(), &tool.getNestedComment()},
        {&Impl::getToolHolderVendorUri(), &tool.getNestedVendor()},
        {&Impl::getToolHolderProductIdUri(), &tool.getNestedProductId()},
        {&Impl::getToolAggregateIdUri(), &tool.getAggregateId()}}};
}

// The texts of a tool stored in record 1040, in the order written.
std::array<std::wstring const*, 7> toolTextRecordTexts(NCTool const& tool)
{
    return {&tool.getToolId(), &tool.getProductLink(), &tool.getNestedProductLink(), &tool.getChuckCollect(),
        &tool.getCustomToolPath(), &tool.getMachineQualityControl(), &tool.getAssistGas()};
}

constexpr std::size_t ProfileSlots = 27;

} // namespace

CompactNCIWriter::CompactNCIWriter(OutputStream* stream) : out(stream, WriterOutput::BufferSize) { }

CompactNCIWriter::~CompactNCIWriter() = default;

std::wstring CompactNCIWriter::getUri() { return Unicode::fromUTF8(Impl::getUri()); }

// Inline, so hidden inside the library: the writers call them without going through the PLT.
template <std::size_t Size> inline void CompactNCIWriter::writeBlock(CompactNCIBlock<Size> const& block)
{
    out.writeBytes(block.bytes, Size);
}

template <class Payload> inline void CompactNCIWriter::writeRecord(std::uint32_t code, Payload const& payload)
{
    WriterOutput::writeRecord(out, code, [&] {
        writeUInt32(code);
        payload();
    });
}

void CompactNCIWriter::writeWholeRecord(std::uint32_t code, unsigned char const* record, std::size_t size)
{
    WriterOutput::writeRecord(out, code, [&] { out.writeBytes(record, size); });
}

// Encoded straight into the buffer when it has room: a record built on the stack and then copied
// would be read back before its stores have landed.
template <class... Fields> inline void CompactNCIWriter::writeFixed(std::uint32_t code, Fields const&... fields)
{
    constexpr std::size_t Size = 4 + (std::size_t {0} + ... + fieldSize<Fields>());
    auto encode = [&](CompactNCIWriteView record) {
        record.putUInt32(0, code);
        [[maybe_unused]] std::size_t at = 4;
        (putField(record, at, fields), ...);
    };
    if (unsigned char* room = out.claim(Size)) [[likely]] {
        encode({room});
        out.advance(Size);
        return;
    }
    // Every byte is set: no zeroing needed.
    CompactNCIBlock<Size> block;
    encode({block.bytes});
    writeWholeRecord(code, block.bytes, Size);
}

std::uint32_t CompactNCIWriter::checkedLength(std::string_view text) const
{
    return WriterOutput::checkedLength(text, Impl::MaximumStringLength, out.getPosition());
}

std::uint32_t CompactNCIWriter::checkedLength(std::wstring_view text) const
{
    return WriterOutput::checkedLength(text, Impl::MaximumStringLength, out.getPosition());
}

void CompactNCIWriter::writeString(std::string_view text) { writeString(text, checkedLength(text)); }

void CompactNCIWriter::writeString(std::wstring_view text) { writeString(text, checkedLength(text)); }

void CompactNCIWriter::writeString(std::string_view text, std::uint32_t length)
{
    out.writeUInt32(length);
    out.writeBytes(text.data(), length);
}

void CompactNCIWriter::writeString(std::wstring_view text, std::uint32_t length)
{
    units.clear();
    Unicode::appendUTF16(units, text);
    out.writeUInt32(length);
    for (char16_t unit : units)
        out.writeUInt16(unit);
}

void CompactNCIWriter::writePoint(Point3D const& point)
{
    CompactNCIBlock<24> block {};
    block.putDouble(0, point.x);
    block.putDouble(8, point.y);
    block.putDouble(16, point.z);
    writeBlock(block);
}

void CompactNCIWriter::writeFrame(Frame const& frame)
{
    writePoint(Point3D(frame.getOrigin()));
    writePoint(Point3D(frame.getXAxis()));
    writePoint(Point3D(frame.getZAxis()));
}

bool CompactNCIWriter::passThrough(wchar_t const* text)
{
    std::uint32_t length = checkedLength(view(text));
    writeRecord(Impl::RECORD_WIDE_PASS_THROUGH, [&] { writeString(view(text), length); });
    return true;
}

bool CompactNCIWriter::passThrough(char const* text)
{
    std::uint32_t length = checkedLength(view(text));
    writeRecord(Impl::RECORD_PASS_THROUGH, [&] { writeString(view(text), length); });
    return true;
}

bool CompactNCIWriter::onComment(wchar_t const* comment)
{
    std::uint32_t length = checkedLength(view(comment));
    writeRecord(Impl::RECORD_WIDE_COMMENT, [&] { writeString(view(comment), length); });
    return true;
}

bool CompactNCIWriter::onComment(char const* comment)
{
    std::uint32_t length = checkedLength(view(comment));
    writeRecord(Impl::RECORD_COMMENT, [&] { writeString(view(comment), length); });
    return true;
}

bool CompactNCIWriter::onCommand(Command command)
{
    writeFixed(Impl::RECORD_COMMAND, static_cast<unsigned int>(command));
    return true;
}

bool CompactNCIWriter::onMachineCommand(unsigned int machineCommand)
{
    writeFixed(Impl::RECORD_MACHINE_COMMAND, machineCommand);
    return true;
}

bool CompactNCIWriter::onCoolant(unsigned int coolant, CoolantLevel level)
{
    writeFixed(Impl::RECORD_COOLANT, coolant, static_cast<unsigned int>(level));
    return true;
}

bool CompactNCIWriter::onSpindleSpeed(double speed)
{
    writeFixed(Impl::RECORD_SPINDLE_SPEED, speed);
    return true;
}

bool CompactNCIWriter::onOpen()
{
    forceToolChangePending = false;
    CompactNCIBlock<7> version {};
    version.putUInt32(0, Impl::RECORD_VERSION);
    version.bytes[4] = Impl::VersionMajor;
    version.bytes[5] = Impl::VersionMinor;
    version.bytes[6] = Impl::VersionBuild;
    std::uint64_t const start = out.getPosition();
    try {
        writeString(std::string_view(Impl::getUri()));
        writeBlock(version);
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot write the header", start, e);
    }
    return true;
}

bool CompactNCIWriter::onParameter(char const* name, Point3D const& value)
{
    std::uint32_t length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_POINT, [&] {
        writeString(view(name), length);
        writePoint(value);
    });
    return true;
}

bool CompactNCIWriter::onParameter(char const* name, double value)
{
    std::uint32_t length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_DOUBLE, [&] {
        writeString(view(name), length);
        writeDouble(value);
    });
    return true;
}

bool CompactNCIWriter::onParameter(char const* name, int value)
{
    if (view(name) == Impl::getForceToolChangeUri()) {
        forceToolChangePending = value != 0;
        return true;
    }
    std::uint32_t length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_INT, [&] {
        writeString(view(name), length);
        out.writeInt32(value);
    });
    return true;
}

bool CompactNCIWriter::onParameter(char const* name, wchar_t const* value)
{
    std::uint32_t nameLength = checkedLength(view(name));
    std::uint32_t valueLength = checkedLength(view(value));
    writeRecord(Impl::RECORD_PARAMETER_WIDE_TEXT, [&] {
        writeString(view(name), nameLength);
        writeString(view(value), valueLength);
    });
    return true;
}

bool CompactNCIWriter::onParameter(char const* name, char const* value)
{
    std::uint32_t nameLength = checkedLength(view(name));
    std::uint32_t valueLength = checkedLength(view(value));
    writeRecord(Impl::RECORD_PARAMETER_TEXT, [&] {
        writeString(view(name), nameLength);
        writeString(view(value), valueLength);
    });
    return true;
}

bool CompactNCIWriter::onStock(Vector3D const& lower, Vector3D const& upper)
{
    writeFixed(Impl::RECORD_STOCK, lower, upper);
    return true;
}

bool CompactNCIWriter::onContext(NCContext const& context)
{
    if (!mapToWCS) {
        writeContext(context);
        return true;
    }
    NCContext mapped(context);
    mapped.convertWorkViewToWCS();
    writeContext(mapped);
    return true;
}

void CompactNCIWriter::writeContext(NCContext const& c)
{
    std::uint32_t workNameLength = checkedLength(c.getWorkName());
    std::uint32_t fixtureNameLength = checkedLength(c.getFixtureName());
    bool forceToolChange = forceToolChangePending || c.getForceToolChange();
    std::uint32_t code = getContextCode(c, forceToolChange);
    writeRecord(code, [&] {
        writeContextBlocks(c, code, forceToolChange);
        writeString(c.getWorkName(), workNameLength);
        writeString(c.getFixtureName(), fixtureNameLength);
    });
}

void CompactNCIWriter::writeContextBlocks(NCContext const& c, std::uint32_t code, bool forceToolChange)
{
    if (code == Impl::RECORD_CONTEXT_24) {
        CompactNCIBlock<228> block {};
        block.putUInt32(0, c.getType());
        block.putUInt32(4, c.getUnit());
        block.putUInt32(8, c.getToolAxis());
        block.putUInt32(12, c.getCompensation());
        block.putDouble(16, c.getTurningToolOrientation());
        block.putVector(24, c.getOrigin());
        block.putMatrix(36, c.getPlane());
        block.putVector(72, c.getWCSOrigin());
        block.putMatrix(84, c.getWCSPlane());
        block.putVector(120, c.getDynamicWCSOrigin());
        block.putMatrix(132, c.getDynamicWCSPlane());
        block.putVector(168, c.getFCSOrigin());
        block.putMatrix(180, c.getFCSPlane());
        block.putVector(216, c.getModelOrigin());
        writeBlock(block);
    } else {
        CompactNCIBlock<124> main {};
        main.putUInt32(0, c.getType());
        main.putUInt32(4, c.getUnit());
        main.putUInt32(8, c.getToolAxis());
        main.putUInt32(12, c.getCompensation());
        main.putUInt32(16, flags({c.isUnknownSystem()}));
        main.putDouble(20, c.getTurningToolOrientation());
        main.putVector(28, c.getOrigin());
        main.putMatrix(40, c.getPlane());
        main.putVector(76, c.getWCSOrigin());
        main.putMatrix(88, c.getWCSPlane());
        writeBlock(main);
        if (code >= Impl::RECORD_CONTEXT_29) {
            CompactNCIBlock<16> block {};
            block.putUInt32(0, c.getTiltMode());
            block.putUInt32(4, flags({c.isAxisSubstitution()}));
            block.putUInt32(8, c.getQuality());
            block.putUInt32(12, c.getWorkOffset());
            writeBlock(block);
        }
        if (code >= Impl::RECORD_CONTEXT_1031) {
            CompactNCIBlock<12> block {};
            block.putUInt32(0, c.getSpindle());
            block.putUInt32(4, c.getFeedMode());
            block.putUInt32(8, flags({c.isDisjoint(), c.getTailstock(), c.getPartCatcher()}));
            writeBlock(block);
        }
        if (code >= Impl::RECORD_CONTEXT_1034) {
            CompactNCIBlock<36> block {};
            block.putUInt32(0, c.getInternalId());
            block.putUInt32(4, c.getInternalGroupId());
            block.putUInt32(8, c.getPatternId());
            block.putUInt32(12, c.getMultiAxisMode());
            block.putUInt32(16, c.getChannel());
            block.putUInt32(20, c.getJetMode());
            block.putUInt32(24, flags({forceToolChange, c.isOptional()}));
            block.putDouble(28, c.getInverseAxisSubstitutionRadius());
            writeBlock(block);
        }
        if (code >= Impl::RECORD_CONTEXT_1036) {
            CompactNCIBlock<52> block {};
            block.putUInt32(0, c.getDynamicWorkOffset());
            writeBlock(block);
        }
        if (code >= Impl::RECORD_CONTEXT_1037) {
            CompactNCIBlock<48> block {};
            block.putMatrix(0, c.getModelPlane());
            writeBlock(block);
        }
        CompactNCIBlock<116> last {};
        last.putVector(0, c.getDynamicWCSOrigin());
        last.putMatrix(12, c.getDynamicWCSPlane());
        last.putVector(48, c.getFCSOrigin());
        last.putMatrix(60, c.getFCSPlane());
        last.putVector(96, c.getModelOrigin());
        writeBlock(last);
    }
}

bool CompactNCIWriter::onTool(NCTool const& tool)
{
    writeTool(tool);
    return true;
}

void CompactNCIWriter::writeTool(NCTool const& t)
{
    auto const parameters = toolTextParameters(t);
    auto const texts = toolTextRecordTexts(t);
    std::array<std::uint32_t, 9> parameterLengths;
    std::array<std::uint32_t, 7> textLengths;
    std::uint32_t parts = 4;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        parameterLengths[i] = checkedLength(*parameters[i].second);
        parts += parameterLengths[i] != 0 ? 1 : 0;
    }
    for (std::size_t i = 0; i < texts.size(); ++i)
        textLengths[i] = checkedLength(*texts[i]);

    ToolGeometry::Region const& region = t.getTurningRegion();
    bool const jetNozzle = t.getJetDiameter() != 0.0 || t.getJetDistance() != 0.0;
    bool const depositing = t.getBeadWidth() != 0.0 || t.getLayerThickness() != 0.0;
    bool const thread = t.getNumberOfTeeth() != 0 || t.getThreadPitch() != 0.0;
    bool const turningRegion = !region.isNull();
    bool const kerf = t.getKerfWidth() != 0.0;
    bool const standoff = t.getStandoffDistance() != 0.0;
    bool const power = t.getPiercePower() != 0.0 || t.getCutPower() != 0.0;
    for (bool present : {jetNozzle, depositing, thread, turningRegion, kerf, standoff, power})
        parts += present ? 1 : 0;

    writeFixed(Impl::RECORD_TOOL, static_cast<unsigned int>(parts));

    // The parts, each a record of its own: a failure of the output names the one begun last.
    std::uint32_t part = 0;
    std::uint64_t partStart = 0;
    auto beginPart = [&](std::uint32_t code) {
        part = code;
        partStart = out.getPosition();
        writeUInt32(code);
    };
    try {
        beginPart(Impl::RECORD_TOOL_GEOMETRY);
        CompactNCIBlock<119> geometry {};
        geometry.putUInt32(0, t.getType());
        geometry.putUInt32(4, t.getUnit());
        geometry.putUInt32(8, t.getNumberOfFlutes());
        geometry.putDouble(12, t.getDiameter());
        geometry.putDouble(20, t.getCornerRadius());
        geometry.putDouble(28, t.getTaperAngle());
        geometry.putDouble(36, t.getTipAngle());
        geometry.putDouble(44, t.getFluteLength());
        geometry.putDouble(52, t.getShoulderLength());
        geometry.putDouble(60, t.getBodyLength());
        geometry.putDouble(68, t.getShaftDiameter());
        geometry.putDouble(76, t.getLength());
        geometry.putDouble(84, t.getMinimumDiameter());
        geometry.putDouble(92, t.getBoringBarOrientation());
        writeBlock(geometry);
        CompactNCIBlock<104> spindle {};
        spindle.putUInt32(0, t.getSpindleMode());
        spindle.putFlag(4, t.getSpindleDirection());
        spindle.putFlag(5, t.isLiveTool());
        spindle.putFlag(6, t.isNestedLiveTool());
        spindle.putDouble(8, t.getSpindleRPM());
        spindle.putDouble(16, t.getRampingSpindleRPM());
        spindle.putDouble(24, t.getSurfaceSpeed());
        spindle.putDouble(32, t.getMaximumSpindleSpeed());
        spindle.putDouble(40, t.getMaximumRotationalSpeed());
        writeBlock(spindle);
        CompactNCIBlock<156> usage {};
        usage.putUInt32(0, t.getCapabilities());
        usage.putFlag(4, t.getManualToolChange());
        usage.putFlag(5, t.getBreakControl());
        usage.putDouble(8, t.getMaximumRampAngle());
        usage.putDouble(16, t.getMaximumAxialStep());
        usage.putDouble(24, t.getMaximumRadialStep());
        usage.putDouble(32, t.getCutHeight());
        usage.putDouble(40, t.getPierceHeight());
        usage.putDouble(48, t.getPressure());
        usage.putDouble(56, t.getPierceTime());
        usage.putDouble(64, t.getAbrasiveFlowRate());
        writeBlock(usage);
        auto const& sections = t.getShaftSections();
        std::size_t const inProfile = std::min(sections.size(), ProfileSlots);
        CompactNCIBlock<220> profile {};
        profile.putUInt32(0, static_cast<std::uint32_t>(inProfile));
        for (std::size_t i = 0; i < inProfile; ++i) {
            profile.putFloat(4 + 8 * i, sections[i].diameter);
            profile.putFloat(8 + 8 * i, sections[i].length);
        }
        writeBlock(profile);

        beginPart(Impl::RECORD_TOOL_NUMBERING);
        CompactNCIBlock<119> numbering {};
        numbering.putUInt32(0, t.getNumber());
        numbering.putUInt32(4, t.getTurret());
        numbering.putUInt32(8, t.getHolderNumber());
        numbering.putUInt32(12, t.getStationNumber());
        numbering.putUInt32(16, t.getCustomId());
        numbering.putUInt32(20, t.getDiameterOffset());
        numbering.putUInt32(24, t.getLengthOffset());
        numbering.putUInt32(28, t.getSecondaryLengthOffset());
        numbering.putUInt32(32, t.getCompensationOffset());
        numbering.putUInt32(36, t.getSecondaryCompensationOffset());
        numbering.putFlag(40, t.isHalfIndex());
        writeBlock(numbering);

        beginPart(Impl::RECORD_TOOL_COOLANT);
        CompactNCIBlock<28> coolant {};
        coolant.putUInt32(0, t.getCoolant());
        coolant.putUInt32(4, t.getMaterial());
        writeBlock(coolant);

        beginPart(Impl::RECORD_TOOL_TEXTS);
        writeUInt32(static_cast<std::uint32_t>(sections.size() - inProfile));
        for (std::size_t i = inProfile; i < sections.size(); ++i) {
            writeFloat(static_cast<float>(sections[i].diameter));
            writeFloat(static_cast<float>(sections[i].length));
        }
        for (std::size_t i = 0; i < texts.size(); ++i)
            writeString(*texts[i], textLengths[i]);

        if (jetNozzle) {
            beginPart(Impl::RECORD_TOOL_JET_NOZZLE);
            writeDouble(t.getJetDiameter());
            writeDouble(t.getJetDistance());
        }
        if (depositing) {
            beginPart(Impl::RECORD_TOOL_DEPOSITING);
            writeDouble(t.getBeadWidth());
            writeDouble(t.getLayerThickness());
        }
        if (thread) {
            beginPart(Impl::RECORD_TOOL_THREAD);
            writeUInt32(t.getNumberOfTeeth());
            writeDouble(t.getThreadPitch());
        }
        if (turningRegion) {
            beginPart(Impl::RECORD_TOOL_TURNING_REGION);
            writeDouble(region.minimum.x);
            writeDouble(region.minimum.y);
            writeDouble(region.maximum.x);
            writeDouble(region.maximum.y);
        }
        if (kerf) {
            beginPart(Impl::RECORD_TOOL_KERF);
            writeDouble(t.getKerfWidth());
        }
        if (standoff) {
            beginPart(Impl::RECORD_TOOL_STANDOFF);
            writeDouble(t.getStandoffDistance());
        }
        if (power) {
            beginPart(Impl::RECORD_TOOL_POWER);
            writeDouble(t.getPiercePower());
            writeDouble(t.getCutPower());
        }

        for (std::size_t i = 0; i < parameters.size(); ++i) {
            if (parameterLengths[i] == 0)
                continue;
            beginPart(Impl::RECORD_PARAMETER_WIDE_TEXT);
            writeString(*parameters[i].first, static_cast<std::uint32_t>(parameters[i].first->size()));
            writeString(*parameters[i].second, parameterLengths[i]);
        }
    } catch (IOException const& e) {
        WriterOutput::failRecord(part, partStart, e);
    }
}

bool CompactNCIWriter::onToolChange()
{
    writeFixed(Impl::RECORD_TOOL_CHANGE);
    return true;
}

bool CompactNCIWriter::onSection()
{
    forceToolChangePending = false;
    writeFixed(Impl::RECORD_SECTION, 0u, 0u, 0u);
    return true;
}

bool CompactNCIWriter::onGroup(char const* uri)
{
    std::uint32_t length = checkedLength(view(uri));
    writeRecord(Impl::RECORD_GROUP, [&] { writeString(view(uri), length); });
    return true;
}

bool CompactNCIWriter::onTurnGroup(char const* name)
{
    if (NCCycle::getWellKnownCycle(name) == NCCycle::CYCLE_TURNING_TNR) {
        turnGroupSuppressed = true;
        countLeftOut(NCEvent::onTurnGroup);
        return true;
    }
    return onGroup(name);
}

bool CompactNCIWriter::onGroupEnd()
{
    writeFixed(Impl::RECORD_GROUP_END);
    return true;
}

bool CompactNCIWriter::onTurnGroupEnd()
{
    if (turnGroupSuppressed) {
        turnGroupSuppressed = false;
        return true;
    }
    return onGroupEnd();
}

bool CompactNCIWriter::onSectionEnd()
{
    writeFixed(Impl::RECORD_SECTION_END);
    return true;
}

bool CompactNCIWriter::onDwell(double time, unsigned int flags)
{
    writeFixed(Impl::RECORD_DWELL, time, flags);
    return true;
}

bool CompactNCIWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    writeFixed(Impl::RECORD_RAPID, end, flags);
    return true;
}

bool CompactNCIWriter::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    writeFixed(Impl::RECORD_RAPID_5D_FRAME, end, z, x, n, flags);
    return true;
}

bool CompactNCIWriter::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    writeFixed(Impl::RECORD_RAPID_5D, end, direction, flags);
    return true;
}

bool CompactNCIWriter::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_LINEAR, end, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_LINEAR_5D_FRAME, end, z, x, n, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_LINEAR_5D, end, direction, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    writeFixed(Impl::RECORD_LINEAR_EXTRUDE, end, feedrate, extrusion);
    return true;
}

bool CompactNCIWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_ARC, center, end, normal, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_ARC, center, end, normal, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_CIRCULAR, center, end, normal, sweep, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_ARC_EXTRUDE, center, end, normal, feedrate, extrusion, flags);
    return true;
}

bool CompactNCIWriter::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_ARC_EXTRUDE, center, end, normal, feedrate, extrusion, flags);
    return true;
}

bool CompactNCIWriter::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    writeFixed(Impl::RECORD_CIRCULAR_EXTRUDE, center, end, normal, sweep, feedrate, extrusion, flags);
    return true;
}

bool CompactNCIWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_CIRCLE, center, end, normal, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_CIRCLE, center, end, normal, feedrate, flags);
    return true;
}

bool CompactNCIWriter::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    for (int i = 0; i < ordering.size(); ++i) {
        checkedLength(ordering.axisName(i).getName());
        checkedLength(ordering.machinePartId(i).id());
    }
    writeRecord(Impl::RECORD_AXIS_ORDERING, [&] {
        writeUInt32(static_cast<std::uint32_t>(ordering.size()));
        for (int i = 0; i < ordering.size(); ++i) {
            AxisInfo const info = ordering.axisInfo(i);
            writeString(info.getNameStr());
            writeString(info.getMachinePartIdStr());
        }
    });
    return true;
}

bool CompactNCIWriter::onMachineAxisValues(AxisValues const& values)
{
    writeRecord(Impl::RECORD_AXIS_VALUES, [&] {
        writeUInt32(static_cast<std::uint32_t>(values.size()));
        for (int i = 0; i < values.size(); ++i)
            writeDouble(values.value(i).value());
    });
    return true;
}

bool CompactNCIWriter::onFrame(TaggedFrame const& frame)
{
    std::uint32_t tagLength = checkedLength(frame.tag());
    std::uint32_t baseLength = checkedLength(frame.baseFrameTag());
    writeRecord(Impl::RECORD_FRAME, [&] {
        writeString(frame.tag(), tagLength);
        writeString(frame.baseFrameTag(), baseLength);
        writeFrame(frame.frame());
    });
    return true;
}

bool CompactNCIWriter::onClose()
{
    try {
        out.flush();
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot flush the output", out.getPosition(), e);
    }
    return true;
}

bool CompactNCIWriter::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    countLeftOut(NCEvent::onToolpathEntityIndex);
    return NCStreamDefaultImpl::onToolpathEntityIndex(index);
}

bool CompactNCIWriter::onRadiusCompensationMode(bool enable)
{
    countLeftOut(NCEvent::onRadiusCompensationMode);
    return NCStreamDefaultImpl::onRadiusCompensationMode(enable);
}

bool CompactNCIWriter::onRadiusCompensation(Compensation compensation)
{
    countLeftOut(NCEvent::onRadiusCompensation);
    return NCStreamDefaultImpl::onRadiusCompensation(compensation);
}

bool CompactNCIWriter::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onSpline);
    return NCStreamDefaultImpl::onSpline(control1, control2, end, feedrate, flags);
}

bool CompactNCIWriter::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onBezier);
    return NCStreamDefaultImpl::onBezier(control1, control2, end, feedrate, flags);
}

bool CompactNCIWriter::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onNURBS);
    return NCStreamDefaultImpl::onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

bool CompactNCIWriter::onSkip()
{
    countLeftOut(NCEvent::onSkip);
    return NCStreamDefaultImpl::onSkip();
}

bool CompactNCIWriter::onLineNumber(unsigned int line)
{
    countLeftOut(NCEvent::onLineNumber);
    return NCStreamDefaultImpl::onLineNumber(line);
}

} // namespace Quarn
