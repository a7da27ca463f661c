// Constants shared by the cutter location data writer and reader: the format URI, record codes,
// limits and the names of the descriptive parameters.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quarn {

// Cutter location data (CLD) records the tool's path alone: positions, tool axes and arcs,
// without feeds, flags or machine state, and a few descriptive parameters. The container is
// that of compact NCI (uint32 record codes, strings as a uint32 length and the units), but every
// number of a record is a 32-bit float and all numbers are in the byte order of the machine that
// wrote the file, which the file names in its "cld:byte-order" parameter. CutterLocationDataWriter
// documents the payload of every code.
class QUARN_NC_EXPORT CutterLocationDataImpl {
public:
    enum RecordCode : std::uint32_t {
        RECORD_VERSION = 1,
        RECORD_PARAMETER_TEXT = 10,
        RECORD_PARAMETER_WIDE_TEXT = 11,
        RECORD_PARAMETER_INT = 12,
        RECORD_PARAMETER_FLOAT = 13,
        RECORD_PARAMETER_VECTOR = 14,
        RECORD_PARAMETER_MATRIX = 15,
        RECORD_PARAMETER_POINT = 18,
        RECORD_SECTION = 30,
        RECORD_SECTION_END = 31,
        RECORD_MOVE = 100, // rapid and linear alike
        RECORD_CCW_ARC = 110,
        RECORD_CW_ARC = 111,
        RECORD_CCW_CIRCLE = 112,
        RECORD_CW_CIRCLE = 113,
        RECORD_CIRCULAR = 114,
        RECORD_MOVE_5D = 120, // rapid and linear alike
    };

    // The version the writer records; a reader takes every file of major version 1.
    static constexpr std::uint8_t VersionMajor = 1;
    static constexpr std::uint8_t VersionMinor = 0;
    static constexpr std::uint8_t VersionBuild = 0;

    // The writer refuses strings longer than 131072 units, the reader longer than 65536, both
    // with IOException "String too long.". The reader is the stricter on purpose: files that other
    // writers make within the writer's limit are refused by readers of the format anyway.
    static constexpr std::uint32_t MaximumWrittenStringLength = 131072;
    static constexpr std::uint32_t MaximumReadStringLength = 65536;

    // Parameters that onOpen writes: the format URI under "xmlns:cld", and the byte order.
    static constexpr std::string_view NamespaceParameter = "xmlns:cld";
    static constexpr std::string_view ByteOrderParameter = "cld:byte-order";
    static constexpr std::string_view LittleEndianValue = "le";
    static constexpr std::string_view BigEndianValue = "be";

    // Parameters that onContext writes, in this order: unit and compensation as narrow text,
    // origin as a vector, plane as a matrix.
    static constexpr std::string_view UnitParameter = "cld:unit";
    static constexpr std::string_view CompensationParameter = "cld:compensation";
    static constexpr std::string_view OriginParameter = "cld:origin";
    static constexpr std::string_view PlaneParameter = "cld:plane";

    // Parameters that onTool writes, in this order: the unit as narrow text, then four floats.
    static constexpr std::string_view ToolUnitParameter = "cld:tool-unit";
    static constexpr std::string_view CutterDiameterParameter = "cld:cutter-diameter";
    static constexpr std::string_view CornerRadiusParameter = "cld:corner-radius";
    static constexpr std::string_view TaperAngleParameter = "cld:taper-angle";
    static constexpr std::string_view FluteLengthParameter = "cld:flute-length";

    // NamespaceBaseA + "/namespace/nc/format/cutter-location-data".
    static std::string const& getUri();

    // "millimeters" for NCUnit::MILLIMETERS (value 1), "inches" for any other value.
    static std::string_view getUnitText(NCUnit::Unit unit) noexcept;
    static std::optional<NCUnit::Unit> findUnit(std::string_view text) noexcept;
    // "tip" for COMPENSATION_TIP (value 0), "center" for any other value.
    static std::string_view getCompensationText(NCContext::Compensation compensation) noexcept;
    static std::optional<NCContext::Compensation> findCompensation(std::string_view text) noexcept;
};

} // namespace Quarn
