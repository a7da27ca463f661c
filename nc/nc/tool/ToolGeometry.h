// Geometry of a cutting tool: its type, unit and dimensions, with the type's names and kinds.
#pragma once

#include "nc/nc/NCUnit.h"
#include "util/utility/Export.h"
#include "util/utility/math/Vector2D.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quarn {

// A plain copyable record; NCTool derives from it and adds the machine-side settings.
// Lengths are in the record's unit, angles in degrees.
class QUARN_NC_EXPORT ToolGeometry {
public:
    // The numbers are stored in files; never renumber.
    //   0 UNDEFINED             16 LEFT_HAND_TAP          32 TURNING_BORING_GROOVING
    //   1 DRILL                 17 REAMER                 33 TURNING_PARTING
    //   2 CENTER_DRILL          18 BORING_BAR             34 TURNING_THREADING
    //   3 SPOT_DRILL            19 COUNTER_BORE           35 TURNING_BORING_THREADING
    //   4 ENGRAVING_TOOL        20 COUNTER_SINK           36 TURNING_FORM
    //   5 FLAT_END_MILL         21 THREAD_MILL            37 TURNING_BUTTON
    //   6 BALL_END_MILL         22 FORM_MILL              38 PROBE
    //   7 LOLLIPOP_MILL         23 BARREL_MILL            39 PROBE_TURNING
    //   8 BULLNOSE_END_MILL     24 CIRCLE_SEGMENT_MILL    40 WATERJET
    //   9 CHAMFER_MILL          25 BORING_HEAD            41 LASER_CUTTER
    //  10 FACE_MILL             26 BACK_BORING_TOOL       42 PLASMA_CUTTER
    //  11 SLOT_MILL             27 GUN_DRILL              43 DEPOSITING_WIRE
    //  12 RADIUS_MILL           28 STEP_DRILL             44 DEPOSITING_POWDER
    //  13 DOVETAIL_MILL         29 TURNING_GENERAL        45 DEPOSITING_FILAMENT
    //  14 TAPERED_MILL          30 TURNING_BORING         46 CUSTOM
    //  15 RIGHT_HAND_TAP        31 TURNING_GROOVING
    enum Type : unsigned int {
        UNDEFINED = 0,
        DRILL,
        CENTER_DRILL,
        SPOT_DRILL,
        ENGRAVING_TOOL,
        FLAT_END_MILL,
        BALL_END_MILL,
        LOLLIPOP_MILL,
        BULLNOSE_END_MILL,
        CHAMFER_MILL,
        FACE_MILL,
        SLOT_MILL,
        RADIUS_MILL,
        DOVETAIL_MILL,
        TAPERED_MILL,
        RIGHT_HAND_TAP,
        LEFT_HAND_TAP,
        REAMER,
        BORING_BAR,
        COUNTER_BORE,
        COUNTER_SINK,
        THREAD_MILL,
        FORM_MILL,
        BARREL_MILL,
        CIRCLE_SEGMENT_MILL,
        BORING_HEAD,
        BACK_BORING_TOOL,
        GUN_DRILL,
        STEP_DRILL,
        TURNING_GENERAL,
        TURNING_BORING,
        TURNING_GROOVING,
        TURNING_BORING_GROOVING,
        TURNING_PARTING,
        TURNING_THREADING,
        TURNING_BORING_THREADING,
        TURNING_FORM,
        TURNING_BUTTON,
        PROBE,
        PROBE_TURNING,
        WATERJET,
        LASER_CUTTER,
        PLASMA_CUTTER,
        DEPOSITING_WIRE,
        DEPOSITING_POWDER,
        DEPOSITING_FILAMENT,
        CUSTOM
    };
    static constexpr unsigned int TYPE_COUNT = 47;

    // One step of a stepped shaft, from the holder towards the cutter.
    struct ShaftSection {
        double diameter = 0.0;
        double length = 0.0;
        friend bool operator==(ShaftSection const&, ShaftSection const&) = default;
    };

    // The region of the cutting segment of a turning insert in the tool's XZ plane
    // (x = X, y = Z).
    struct Region {
        Vector2D minimum;
        Vector2D maximum;
        bool isNull() const noexcept
        {
            return minimum.x == 0.0 && minimum.y == 0.0 && maximum.x == 0.0 && maximum.y == 0.0;
        }
        friend bool operator==(Region const&, Region const&) = default;
    };

    // Kinds of types; a value outside the enumeration is of no kind.
    static bool isType(unsigned int type) noexcept { return type < TYPE_COUNT; }
    // Turning tools and the turning probe.
    static bool isTurning(Type type) noexcept;
    // Waterjet, laser and plasma.
    static bool isJetCutter(Type type) noexcept;
    // Additive heads laying down wire, powder or filament.
    static bool isDepositing(Type type) noexcept;
    static bool isProbe(Type type) noexcept;
    // Rotating cutters that machine with their side or face (end, form and thread mills,
    // engraving tools).
    static bool isMilling(Type type) noexcept;
    // Drills, taps, reamers, boring tools, counter bores and sinks.
    static bool isHoleMaking(Type type) noexcept;

    // Identifier of a type: lowercase words joined with '-' ("flat-end-mill"); empty for a
    // value outside the enumeration.
    static std::wstring getTypeAsString(Type type);
    // The type whose identifier is exactly text; none for any other text.
    static std::optional<Type> getAsType(std::wstring_view text);

    bool isTurning() const noexcept { return isTurning(type); }
    bool isJetCutter() const noexcept { return isJetCutter(type); }
    bool isDepositing() const noexcept { return isDepositing(type); }
    bool isProbe() const noexcept { return isProbe(type); }
    bool isMilling() const noexcept { return isMilling(type); }
    bool isHoleMaking() const noexcept { return isHoleMaking(type); }

    Type getType() const noexcept { return type; }
    void setType(Type value);
    NCUnit::Unit getUnit() const noexcept { return unit; }
    // Changes only the unit label; convertToUnit also scales the lengths.
    void setUnit(NCUnit::Unit value);

    double getDiameter() const noexcept { return diameter; }
    void setDiameter(double value) noexcept { diameter = value; }
    double getCornerRadius() const noexcept { return cornerRadius; }
    void setCornerRadius(double value) noexcept { cornerRadius = value; }
    double getTaperAngle() const noexcept { return taperAngle; }
    void setTaperAngle(double degrees) noexcept { taperAngle = degrees; }
    double getTipAngle() const noexcept { return tipAngle; }
    void setTipAngle(double degrees) noexcept { tipAngle = degrees; }
    double getFluteLength() const noexcept { return fluteLength; }
    void setFluteLength(double value) noexcept { fluteLength = value; }
    double getShoulderLength() const noexcept { return shoulderLength; }
    void setShoulderLength(double value) noexcept { shoulderLength = value; }
    double getBodyLength() const noexcept { return bodyLength; }
    void setBodyLength(double value) noexcept { bodyLength = value; }
    double getShaftDiameter() const noexcept { return shaftDiameter; }
    void setShaftDiameter(double value) noexcept { shaftDiameter = value; }
    std::vector<ShaftSection> const& getShaftSections() const noexcept { return shaftSections; }
    void setShaftSections(std::vector<ShaftSection> value) noexcept { shaftSections = std::move(value); }
    double getThreadPitch() const noexcept { return threadPitch; }
    void setThreadPitch(double value) noexcept { threadPitch = value; }
    unsigned int getNumberOfTeeth() const noexcept { return numberOfTeeth; }
    void setNumberOfTeeth(unsigned int value) noexcept { numberOfTeeth = value; }
    // Overall length of the tool.
    double getLength() const noexcept { return length; }
    void setLength(double value) noexcept { length = value; }
    double getJetDiameter() const noexcept { return jetDiameter; }
    void setJetDiameter(double value) noexcept { jetDiameter = value; }
    double getJetDistance() const noexcept { return jetDistance; }
    void setJetDistance(double value) noexcept { jetDistance = value; }
    double getKerfWidth() const noexcept { return kerfWidth; }
    void setKerfWidth(double value) noexcept { kerfWidth = value; }
    double getBeadWidth() const noexcept { return beadWidth; }
    void setBeadWidth(double value) noexcept { beadWidth = value; }
    double getLayerThickness() const noexcept { return layerThickness; }
    void setLayerThickness(double value) noexcept { layerThickness = value; }
    double getStandoffDistance() const noexcept { return standoffDistance; }
    void setStandoffDistance(double value) noexcept { standoffDistance = value; }
    Region const& getTurningRegion() const noexcept { return turningRegion; }
    void setTurningRegion(Region const& value) noexcept { turningRegion = value; }

    // Scales every length (not the angles, not the tooth count) from the current unit to
    // unit and takes unit as the new one.
    void convertToUnit(NCUnit::Unit unit);

    friend bool operator==(ToolGeometry const&, ToolGeometry const&) = default;

private:
    Type type = UNDEFINED;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    double diameter = 0.0;
    double cornerRadius = 0.0;
    double taperAngle = 0.0;
    double tipAngle = 0.0;
    double fluteLength = 0.0;
    double shoulderLength = 0.0;
    double bodyLength = 0.0;
    double shaftDiameter = 0.0;
    std::vector<ShaftSection> shaftSections;
    double threadPitch = 0.0;
    unsigned int numberOfTeeth = 0;
    double length = 0.0;
    double jetDiameter = 0.0;
    double jetDistance = 0.0;
    double kerfWidth = 0.0;
    double beadWidth = 0.0;
    double layerThickness = 0.0;
    double standoffDistance = 0.0;
    Region turningRegion;
};

} // namespace Quarn
