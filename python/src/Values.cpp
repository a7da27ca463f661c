// Python views of the library values: contexts and tools, copied into read-only objects.
#include "python/src/Bindings.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <pybind11/operators.h>
#include <pybind11/stl.h>

#include <string>

namespace Quarn::Python {

namespace {

py::tuple toTuple(Vector3D const& v)
{
    return py::make_tuple(v.x, v.y, v.z);
}

// Rows, so that plane[i][j] is the element of row i and column j; the columns are the axes.
py::tuple toTuple(Matrix3x3 const& m)
{
    return py::make_tuple(py::make_tuple(m(0, 0), m(0, 1), m(0, 2)), py::make_tuple(m(1, 0), m(1, 1), m(1, 2)),
                          py::make_tuple(m(2, 0), m(2, 1), m(2, 2)));
}

char const* unitName(NCUnit::Unit unit)
{
    return unit == NCUnit::INCHES ? "inch" : "mm";
}

char const* typeName(NCContext::Type type)
{
    switch (type) {
    case NCContext::TYPE_MILLING: return "milling";
    case NCContext::TYPE_TURNING: return "turning";
    case NCContext::TYPE_MILL_TURN: return "mill-turn";
    case NCContext::TYPE_JET_CUTTING: return "jet-cutting";
    case NCContext::TYPE_DEPOSITING: return "depositing";
    case NCContext::TYPE_PROBING: return "probing";
    }
    return "unknown";
}

char const* toolAxisName(NCContext::ToolAxis axis)
{
    return axis == NCContext::TOOL_AXIS_X ? "x" : (axis == NCContext::TOOL_AXIS_Y ? "y" : "z");
}

char const* feedModeName(NCContext::FeedMode mode)
{
    switch (mode) {
    case NCContext::FEED_PER_MINUTE: return "per-minute";
    case NCContext::FEED_PER_REVOLUTION: return "per-revolution";
    case NCContext::FEED_INVERSE_TIME: return "inverse-time";
    }
    return "unknown";
}

char const* tiltModeName(NCContext::TiltMode mode)
{
    switch (mode) {
    case NCContext::TILT_NONE: return "none";
    case NCContext::TILT_PLANE: return "plane";
    case NCContext::TILT_TOOL_CENTER_POINT: return "tool-center-point";
    }
    return "unknown";
}

char const* jetModeName(NCContext::JetMode mode)
{
    switch (mode) {
    case NCContext::JET_NONE: return "none";
    case NCContext::JET_THROUGH_CUT: return "through-cut";
    case NCContext::JET_ETCHING: return "etching";
    case NCContext::JET_VAPORIZING: return "vaporizing";
    }
    return "unknown";
}

char const* multiAxisModeName(NCContext::MultiAxisMode mode)
{
    switch (mode) {
    case NCContext::MULTI_AXIS_UNIT_VECTOR: return "unit-vector";
    case NCContext::MULTI_AXIS_PROPER_VECTOR: return "proper-vector";
    case NCContext::MULTI_AXIS_UNCHECKED: return "unchecked";
    }
    return "unknown";
}

std::string formatNumber(double value)
{
    return py::str(py::float_(value)).cast<std::string>();
}

std::string formatVector(Vector3D const& v)
{
    return "(" + formatNumber(v.x) + ", " + formatNumber(v.y) + ", " + formatNumber(v.z) + ")";
}

void bindContext(py::module_& module)
{
    using C = NCContext;
    py::class_<C> context(module, "Context",
                          "The context of a section (sent before it): unit, coordinate systems and machine modes "
                          "its moves are read in. A read-only copy. Every coordinate system is an origin "
                          "(x, y, z) and a plane (3x3 rows; its columns are the system's x, y and z axes), "
                          "given in the parent system and in the context's unit.");
    context.def(py::init<>(), "A default context: millimetres, milling, identity systems.")
        .def_property_readonly("type", [](C const& c) { return typeName(c.getType()); },
                               "Kind of machining: 'milling', 'turning', 'mill-turn', 'jet-cutting', 'depositing' "
                               "or 'probing'.")
        .def_property_readonly("unit", [](C const& c) { return unitName(c.getUnit()); },
                               "Length unit of the section: 'mm' or 'inch'.")
        .def_property_readonly("unknown_system", &C::isUnknownSystem,
                               "True when the reader could not tell the coordinate systems.")
        .def_property_readonly("tool_axis", [](C const& c) { return toolAxisName(c.getToolAxis()); },
                               "The fixed tool axis: 'x', 'y' or 'z'.")
        .def_property_readonly("compensation",
                               [](C const& c) { return c.getCompensation() == C::COMPENSATION_CENTER ? "center" : "tip"; },
                               "The tool point the positions describe: 'tip' or 'center'.")
        .def_property_readonly("origin", [](C const& c) { return toTuple(c.getOrigin()); },
                               "Origin (x, y, z) of the work system in its parent.")
        .def_property_readonly("plane", [](C const& c) { return toTuple(c.getPlane()); },
                               "Plane of the work system: 3 rows of 3; the columns are the x, y and z axes.")
        .def_property_readonly("work_name", &C::getWorkName, "Name of the work system (may be empty).")
        .def_property_readonly("wcs_origin", [](C const& c) { return toTuple(c.getWCSOrigin()); },
                               "Origin (x, y, z) of the work coordinate system (WCS).")
        .def_property_readonly("wcs_plane", [](C const& c) { return toTuple(c.getWCSPlane()); },
                               "Plane of the WCS (3 rows of 3).")
        .def_property_readonly("dynamic_wcs_origin", [](C const& c) { return toTuple(c.getDynamicWCSOrigin()); },
                               "Origin (x, y, z) of the dynamic WCS.")
        .def_property_readonly("dynamic_wcs_plane", [](C const& c) { return toTuple(c.getDynamicWCSPlane()); },
                               "Plane of the dynamic WCS (3 rows of 3).")
        .def_property_readonly("fixture_name", &C::getFixtureName, "Name of the fixture system (may be empty).")
        .def_property_readonly("fcs_origin", [](C const& c) { return toTuple(c.getFCSOrigin()); },
                               "Origin (x, y, z) of the fixture coordinate system (FCS).")
        .def_property_readonly("fcs_plane", [](C const& c) { return toTuple(c.getFCSPlane()); },
                               "Plane of the FCS (3 rows of 3).")
        .def_property_readonly("model_origin", [](C const& c) { return toTuple(c.getModelOrigin()); },
                               "Origin (x, y, z) of the model system.")
        .def_property_readonly("model_plane", [](C const& c) { return toTuple(c.getModelPlane()); },
                               "Plane of the model system (3 rows of 3).")
        .def_property_readonly("turning_tool_orientation", &C::getTurningToolOrientation,
                               "Orientation of a turning tool (degrees).")
        .def_property_readonly("tilt_mode", [](C const& c) { return tiltModeName(c.getTiltMode()); },
                               "How a tilted work plane is driven: 'none', 'plane' or 'tool-center-point'.")
        .def_property_readonly("jet_mode", [](C const& c) { return jetModeName(c.getJetMode()); },
                               "What a jet does: 'none', 'through-cut', 'etching' or 'vaporizing'.")
        .def_property_readonly("axis_substitution", &C::isAxisSubstitution,
                               "True when a linear axis is wrapped onto a rotary axis.")
        .def_property_readonly("axis_substitution_radius", &C::getAxisSubstitutionRadius,
                               "Radius of the axis substitution: inf when none was set, -1 after a non-positive one.")
        .def_property_readonly("work_offset", &C::getWorkOffset, "The work offset number (e.g. 1 for G54).")
        .def_property_readonly(
            "dynamic_work_offset",
            [](C const& c) -> py::object {
                if (c.getDynamicWorkOffset() == C::NO_DYNAMIC_WORK_OFFSET)
                    return py::none();
                return py::int_(c.getDynamicWorkOffset());
            },
            "The dynamic work offset number, or None when there is none.")
        .def_property_readonly("effective_work_offset", &C::getEffectiveWorkOffset,
                               "The dynamic work offset when there is one, else the work offset.")
        .def_property_readonly("disjoint", &C::isDisjoint, "True when the section is disjoint from the previous one.")
        .def_property_readonly("quality", &C::getQuality, "Quality level of the section.")
        .def_property_readonly("tailstock", &C::getTailstock, "True when the tailstock is engaged.")
        .def_property_readonly("part_catcher", &C::getPartCatcher, "True when the part catcher is engaged.")
        .def_property_readonly("spindle", &C::getSpindle, "Number of the spindle.")
        .def_property_readonly("feed_mode", [](C const& c) { return feedModeName(c.getFeedMode()); },
                               "How feeds are read: 'per-minute', 'per-revolution' or 'inverse-time'.")
        .def_property_readonly("internal_id", &C::getInternalId, "Internal id of the section.")
        .def_property_readonly("internal_group_id", &C::getInternalGroupId, "Internal group id of the section.")
        .def_property_readonly("pattern_id", &C::getPatternId, "Pattern id of the section.")
        .def_property_readonly("optional", &C::isOptional, "True when the section is optional.")
        .def_property_readonly("multi_axis_mode", [](C const& c) { return multiAxisModeName(c.getMultiAxisMode()); },
                               "What the tool axes of multi-axis moves carry: 'unit-vector', 'proper-vector' or "
                               "'unchecked' (e.g. rotary axis values).")
        .def_property_readonly("force_tool_change", &C::getForceToolChange,
                               "True when a tool change is forced before the section.")
        .def_property_readonly("channel", &C::getChannel, "Number of the channel.")
        .def(py::self == py::self, "True when every field is exactly equal.")
        .def(
            "is_same", [](C const& c, C const& other) { return c.isSame(other); }, py::arg("other"),
            "True when the two contexts describe the same setting (origins and planes within 1e-9; names, type, "
            "tilt and jet modes, dynamic WCS and FCS origins and the model system are not compared).")
        .def("__repr__", [](C const& c) {
            return std::string("quarnnc.Context(type='") + typeName(c.getType()) + "', unit='" + unitName(c.getUnit()) +
                   "', origin=" + formatVector(c.getOrigin()) + ", work_offset=" + std::to_string(c.getWorkOffset()) +
                   ", feed_mode='" + feedModeName(c.getFeedMode()) + "', multi_axis_mode='" +
                   multiAxisModeName(c.getMultiAxisMode()) + "')";
        });
}

// A getter of the base class as a function of NCTool, the class pybind11 knows.
template <typename Result>
auto geometry(Result (ToolGeometry::*getter)() const noexcept)
{
    return [getter](NCTool const& tool) { return (tool.*getter)(); };
}

void bindTool(py::module_& module)
{
    using T = NCTool;
    py::class_<T> tool(module, "Tool",
                       "The tool of a section (sent before it): geometry, numbering, spindle, coolant and jet "
                       "settings. A read-only copy. Lengths are in the tool's unit, angles in degrees, spindle "
                       "speeds in revolutions per minute.");
    tool.def(py::init<>(), "A default tool: number 0, undefined type.")
        .def_property_readonly("number", &T::getNumber, "The tool number (T word).")
        .def_property_readonly("tool_id", &T::getToolId, "Identifier text of the tool (may be empty).")
        .def_property_readonly(
            "type", [](T const& t) { return ToolGeometry::getTypeAsString(t.getType()); },
            "Type identifier, e.g. 'flat-end-mill', 'ball-end-mill', 'drill', 'undefined'.")
        .def_property_readonly("category",
                               [](T const& t) {
                                   switch (t.getToolCategory()) {
                                   case T::TOOL_CATEGORY_MILLING: return "milling";
                                   case T::TOOL_CATEGORY_HOLE_MAKING: return "hole-making";
                                   case T::TOOL_CATEGORY_TURNING: return "turning";
                                   case T::TOOL_CATEGORY_PROBING: return "probing";
                                   case T::TOOL_CATEGORY_JET: return "jet";
                                   case T::TOOL_CATEGORY_DEPOSITING: return "depositing";
                                   case T::TOOL_CATEGORY_OTHER: break;
                                   }
                                   return "other";
                               },
                               "Broad class of the type: 'milling', 'hole-making', 'turning', 'probing', 'jet', "
                               "'depositing' or 'other'.")
        .def_property_readonly("unit", [](T const& t) { return unitName(t.getUnit()); },
                               "Unit of the tool's lengths: 'mm' or 'inch'.")
        .def_property_readonly("diameter", geometry(&ToolGeometry::getDiameter), "Cutting diameter.")
        .def_property_readonly("corner_radius", geometry(&ToolGeometry::getCornerRadius), "Corner radius.")
        .def_property_readonly("taper_angle", geometry(&ToolGeometry::getTaperAngle), "Taper angle (degrees).")
        .def_property_readonly("tip_angle", geometry(&ToolGeometry::getTipAngle), "Tip angle (degrees).")
        .def_property_readonly("flute_length", geometry(&ToolGeometry::getFluteLength), "Flute length.")
        .def_property_readonly("shoulder_length", geometry(&ToolGeometry::getShoulderLength), "Shoulder length.")
        .def_property_readonly("body_length", geometry(&ToolGeometry::getBodyLength), "Body length.")
        .def_property_readonly("length", geometry(&ToolGeometry::getLength), "Overall length.")
        .def_property_readonly("shaft_diameter", geometry(&ToolGeometry::getShaftDiameter), "Shaft diameter.")
        .def_property_readonly("thread_pitch", geometry(&ToolGeometry::getThreadPitch), "Thread pitch.")
        .def_property_readonly("number_of_teeth", geometry(&ToolGeometry::getNumberOfTeeth), "Number of teeth.")
        .def_property_readonly("number_of_flutes", &T::getNumberOfFlutes, "Number of flutes.")
        .def_property_readonly("turret", &T::getTurret, "Turret number.")
        .def_property_readonly("holder_number", &T::getHolderNumber, "Holder number.")
        .def_property_readonly("diameter_offset", &T::getDiameterOffset, "Diameter offset register (D).")
        .def_property_readonly("length_offset", &T::getLengthOffset, "Length offset register (H).")
        .def_property_readonly("compensation_offset", &T::getCompensationOffset, "Compensation offset register.")
        .def_property_readonly(
            "spindle_mode",
            [](T const& t) { return t.getSpindleMode() == T::SPINDLE_MODE_SURFACE_SPEED ? "surface-speed" : "rpm"; },
            "Which value drives the spindle: 'rpm' or 'surface-speed'.")
        .def_property_readonly("spindle_rpm", &T::getSpindleRPM, "Spindle speed (revolutions per minute).")
        .def_property_readonly("direction", [](T const& t) { return t.getSpindleDirection() ? "cw" : "ccw"; },
                               "Spindle direction: 'cw' or 'ccw'.")
        .def_property_readonly("clockwise", &T::getSpindleDirection, "True when the spindle turns clockwise.")
        .def_property_readonly("surface_speed", &T::getSurfaceSpeed, "Constant surface speed (length per minute).")
        .def_property_readonly("maximum_spindle_speed", &T::getMaximumSpindleSpeed, "Maximum spindle speed.")
        .def_property_readonly("live_tool", &T::isLiveTool, "True for a driven tool.")
        .def_property_readonly("coolant", [](T const& t) { return T::getCoolantAsString(t.getCoolant()); },
                               "Coolant: 'none', 'flood', 'mist', 'through-tool', 'air', 'air-through-tool', "
                               "'suction', 'flood-mist' or 'flood-through-tool'.")
        .def_property_readonly("material", [](T const& t) { return T::getMaterialAsString(t.getMaterial()); },
                               "Cutting material, e.g. 'carbide', 'high-speed-steel', 'unknown'.")
        .def_property_readonly("description", &T::getDescription, "Description text (may be empty).")
        .def_property_readonly("comment", &T::getComment, "Comment text (may be empty).")
        .def_property_readonly("vendor", &T::getVendor, "Vendor (may be empty).")
        .def_property_readonly("product_id", &T::getProductId, "Product id (may be empty).")
        .def_property_readonly("manual_tool_change", &T::getManualToolChange, "True for a manual tool change.")
        .def_property_readonly("jet_diameter", geometry(&ToolGeometry::getJetDiameter), "Jet diameter (jet cutters).")
        .def_property_readonly("kerf_width", geometry(&ToolGeometry::getKerfWidth), "Kerf width (jet cutters).")
        .def(py::self == py::self, "True when every field is exactly equal.")
        .def("__repr__", [](T const& t) {
            std::string text = "quarnnc.Tool(number=" + std::to_string(t.getNumber()) + ", type='" +
                               py::cast(ToolGeometry::getTypeAsString(t.getType())).cast<std::string>() +
                               "', diameter=" + formatNumber(t.getDiameter()) +
                               ", corner_radius=" + formatNumber(t.getCornerRadius()) +
                               ", unit='" + unitName(t.getUnit()) + "'";
            if (!t.getDescription().empty())
                text += ", description=" + py::repr(py::cast(t.getDescription())).cast<std::string>();
            return text + ")";
        });
}

} // namespace

void bindValues(py::module_& module)
{
    bindContext(module);
    bindTool(module);
}

} // namespace Quarn::Python
