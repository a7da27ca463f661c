// Rebuilds the context and the tool that cutter location data describes as parameters.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>

namespace Quarn {

class NCStream;

// The writers of both CLD forms describe a context as four parameters in a row ("cld:unit",
// "cld:compensation", "cld:origin", "cld:plane") and a tool as five ("cld:tool-unit",
// "cld:cutter-diameter", "cld:corner-radius", "cld:taper-angle", "cld:flute-length"), with the
// values of CutterLocationDataImpl. A reader passes every parameter it reads through here: the
// parameters of such a run are held until the run is complete and then sent as one onContext
// (unit, compensation, origin and plane set, every other field at its default) or one onTool
// (unit, diameter, corner radius, taper angle and flute length set). A run that breaks off (a
// name out of order, a value that is not one of the texts, any other record) is sent as the
// parameters it was, in order, so that nothing is lost and nothing is invented.
//
// Each operation returns the target's answer to the last event it sent (true when it only held
// the value), and stops at the first false.
class QUARN_NC_EXPORT CutterLocationDataDescription {
public:
    bool onText(NCStream& target, char const* name, char const* value);
    bool onFloat(NCStream& target, char const* name, double value);
    bool onVector(NCStream& target, char const* name, Vector3D const& value);
    bool onMatrix(NCStream& target, char const* name, Matrix3x3 const& value);
    // Sends what is held as plain parameters: before any other event, and at the end of input.
    bool flush(NCStream& target);
    bool isHolding() const noexcept { return stage != Stage::None; }

    // How a vector and a matrix travel as NC parameters outside a run: a Point3D parameter, and a
    // narrow text of the nine elements, row after row, each the shortest text that reads back
    // as the element, separated by single spaces.
    static bool sendVector(NCStream& target, char const* name, Vector3D const& value);
    static bool sendMatrix(NCStream& target, char const* name, Matrix3x3 const& value);

private:
    // How much of a run is held.
    enum class Stage : std::uint8_t {
        None,
        ContextUnit,
        ContextCompensation,
        ContextOrigin,
        ToolUnit,
        ToolDiameter,
        ToolCornerRadius,
        ToolTaperAngle,
    };

    bool sendContext(NCStream& target, Matrix3x3 const& plane);
    bool sendTool(NCStream& target, double fluteLength);

    Stage stage = Stage::None;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    NCContext::Compensation compensation = NCContext::COMPENSATION_TIP;
    Vector3D origin;
    double diameter = 0.0;
    double cornerRadius = 0.0;
    double taperAngle = 0.0;
};

} // namespace Quarn
