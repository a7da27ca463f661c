// Constants shared by the compact NCI writer and reader: the format URI, record codes, limits and
// the names under which a tool's texts travel.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>
#include <string>

namespace Quarn {

// The compact NCI format records an NCStream as a flat run of little-endian records: the header
// (the format URI as a narrow string and the version record), then one record per event, each a
// uint32 code and its payload, until the end of the file. Motion is narrowed to 32-bit floats;
// parameter points and frames keep doubles. CompactNCIWriter documents the payload of every code.
class QUARN_NC_EXPORT CompactNCIImpl {
public:
    // The format's vector: three 32-bit floats x, y, z (12 bytes).
    struct FloatVector {
        float x = 0.0f;
        float y = 0.0f;
        float z = 0.0f;
        friend bool operator==(FloatVector const&, FloatVector const&) = default;
    };

    enum RecordCode : std::uint32_t {
        RECORD_VERSION = 1,
        RECORD_PARAMETER_TEXT = 10,
        RECORD_PARAMETER_WIDE_TEXT = 11,
        RECORD_PARAMETER_INT = 12,
        RECORD_STOCK = 14,
        RECORD_PARAMETER_DOUBLE = 15,
        RECORD_COMMENT = 16,
        RECORD_WIDE_COMMENT = 17,
        RECORD_PARAMETER_POINT = 18,
        // Revisions of the context record, oldest first; each holds all fields of the one before.
        RECORD_CONTEXT_24 = 24,
        RECORD_CONTEXT_28 = 28,
        RECORD_CONTEXT_29 = 29,
        RECORD_CONTEXT_1031 = 1031,
        RECORD_CONTEXT_1034 = 1034,
        RECORD_CONTEXT_1036 = 1036,
        RECORD_CONTEXT_1037 = 1037,
        RECORD_SECTION = 30,
        RECORD_SECTION_END = 31,
        RECORD_TOOL_CHANGE = 32,
        RECORD_LINEAR = 100,
        RECORD_RAPID = 101,
        RECORD_DWELL = 102,
        RECORD_SPINDLE_SPEED = 103,
        RECORD_COOLANT = 104,
        RECORD_CCW_ARC = 110,
        RECORD_CW_ARC = 111,
        RECORD_CCW_CIRCLE = 112,
        RECORD_CW_CIRCLE = 113,
        RECORD_CIRCULAR = 114,
        RECORD_LINEAR_5D = 120,
        RECORD_RAPID_5D = 121,
        RECORD_LINEAR_5D_FRAME = 122,
        RECORD_RAPID_5D_FRAME = 123,
        RECORD_COMMAND = 130,
        RECORD_MACHINE_COMMAND = 131,
        RECORD_LINEAR_EXTRUDE = 140,
        RECORD_CIRCULAR_EXTRUDE = 150,
        RECORD_CCW_ARC_EXTRUDE = 151,
        RECORD_CW_ARC_EXTRUDE = 152,
        RECORD_PASS_THROUGH = 200,
        RECORD_WIDE_PASS_THROUGH = 201,
        RECORD_GROUP = 300,
        RECORD_GROUP_END = 301,
        RECORD_AXIS_ORDERING = 400,
        RECORD_AXIS_VALUES = 401,
        RECORD_FRAME = 500,
        // The tool: 1033 starts it, the others are its parts.
        RECORD_TOOL = 1033,
        RECORD_TOOL_GEOMETRY = 1035,
        RECORD_TOOL_NUMBERING = 1038,
        RECORD_TOOL_COOLANT = 1039,
        RECORD_TOOL_TEXTS = 1040,
        RECORD_TOOL_JET_NOZZLE = 1041,
        RECORD_TOOL_DEPOSITING = 1042,
        RECORD_TOOL_THREAD = 1043,
        RECORD_TOOL_TURNING_REGION = 1044,
        RECORD_TOOL_KERF = 1045,
        RECORD_TOOL_STANDOFF = 1046,
        RECORD_TOOL_POWER = 1047,
    };

    // The version the writer records.
    static constexpr std::uint8_t VersionMajor = 2;
    static constexpr std::uint8_t VersionMinor = 4;
    static constexpr std::uint8_t VersionBuild = 0;

    // Longest string in units (bytes of a narrow string, UTF-16 units of a wide one); longer
    // ones are refused with IOException "String too long.".
    static constexpr std::uint32_t MaximumStringLength = 0x20000;

    // NamespaceBaseA + "/namespace/nc/format/compact-nci".
    static std::string const& getUri();

    // Names of the wide-text parameters that carry a tool's texts.
    static std::string const& getToolDescriptionUri();
    static std::string const& getToolCommentUri();
    static std::string const& getToolVendorUri();
    static std::string const& getToolProductIdUri();
    static std::string const& getToolHolderDescriptionUri();
    static std::string const& getToolHolderCommentUri();
    static std::string const& getToolHolderVendorUri();
    static std::string const& getToolHolderProductIdUri();
    static std::string const& getToolAggregateIdUri();

    // The int parameter that asks for a forced tool change: NamespaceBaseA +
    // "/namespace/nc/parameter/force-tool-change".
    static std::string const& getForceToolChangeUri();

    // Each component narrowed to the nearest float: the one narrowing of vectors, through which
    // the writer encodes every vector of a record (CompactNCIWriteView::putVector).
    static constexpr FloatVector getAsVector(Vector3D const& v) noexcept
    {
        return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
    }
};

} // namespace Quarn
