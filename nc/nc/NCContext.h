// The context of a section: unit, coordinate systems and machine modes its moves are read in.
#pragma once

#include "nc/nc/NCUnit.h"
#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Matrix4x4.h"
#include "util/utility/math/Vector3D.h"

#include <string>
#include <utility>

namespace Quarn {

// A plain copyable record sent with onContext before each section.
//
// Every coordinate system is an origin and a plane (a Matrix3x3 whose columns right, up and
// forward are the system's x, y and z axes), both given in the parent system and in the
// context's unit. The whole system as a Matrix4x4 is the plane with the origin as translation.
class QUARN_NC_EXPORT NCContext {
public:
    // Kind of machining the section does.
    enum Type : unsigned int {
        TYPE_MILLING = 0,
        TYPE_TURNING = 1,
        TYPE_MILL_TURN = 2, // milling with driven tools on a lathe
        TYPE_JET_CUTTING = 3, // waterjet, laser, plasma
        TYPE_DEPOSITING = 4, // additive
        TYPE_PROBING = 5
    };

    // The fixed tool axis; any other value is read as Z.
    enum ToolAxis : unsigned int { TOOL_AXIS_X = 0, TOOL_AXIS_Y = 1, TOOL_AXIS_Z = 2 };

    // Which point of the tool the positions of the section describe.
    enum Compensation : unsigned int {
        COMPENSATION_TIP = 0, // the tool tip
        COMPENSATION_CENTER = 1 // the tool centre (the centre of its corner radius)
    };

    // How a tilted work plane is driven.
    enum TiltMode : unsigned int {
        TILT_NONE = 0, // the work plane is not tilted on the machine
        TILT_PLANE = 1, // positioned: the rotary axes tilt the plane, moves are in the plane
        TILT_TOOL_CENTER_POINT = 2 // simultaneous: the control follows the tool centre point
    };

    // What a jet (waterjet, laser, plasma) does to the material.
    enum JetMode : unsigned int {
        JET_NONE = 0, // not a jet section
        JET_THROUGH_CUT = 1,
        JET_ETCHING = 2,
        JET_VAPORIZING = 3
    };

    // How the feed rates of the section are to be read.
    enum FeedMode : unsigned int {
        FEED_PER_MINUTE = 0, // length per minute
        FEED_PER_REVOLUTION = 1, // length per spindle revolution
        FEED_INVERSE_TIME = 2 // 1 / minutes per move
    };

    // What the tool axes of the multi-axis moves of the section carry, and so how they are
    // checked.
    enum MultiAxisMode : unsigned int {
        MULTI_AXIS_UNIT_VECTOR = 0, // directions of unit length, checked for unit length
        MULTI_AXIS_PROPER_VECTOR = 1, // directions of any length, checked to be finite and not zero
        MULTI_AXIS_UNCHECKED = 2 // not directions (e.g. rotary axis values): not checked
    };

    static constexpr unsigned int NO_DYNAMIC_WORK_OFFSET = 4294967295u;

    NCContext() = default;

    Type getType() const noexcept { return type; }
    void setType(Type value) noexcept { type = value; }
    bool isUnknownSystem() const noexcept { return unknownSystem; }
    void setUnknownSystem(bool value) noexcept { unknownSystem = value; }
    NCUnit::Unit getUnit() const noexcept { return unit; }
    void setUnit(NCUnit::Unit value) noexcept { unit = value; }
    ToolAxis getToolAxis() const noexcept { return toolAxis; }
    void setToolAxis(ToolAxis value) noexcept { toolAxis = value; }
    Compensation getCompensation() const noexcept { return compensation; }
    void setCompensation(Compensation value) noexcept { compensation = value; }

    // The work system.
    Vector3D const& getOrigin() const noexcept { return origin; }
    void setOrigin(Vector3D const& value) noexcept { origin = value; }
    Matrix3x3 const& getPlane() const noexcept { return plane; }
    void setPlane(Matrix3x3 const& value) noexcept { plane = value; }
    Matrix4x4 getWork() const noexcept { return makeSystem(origin, plane); }
    void setWork(Matrix4x4 const& system) noexcept { takeApart(system, origin, plane); }
    std::wstring const& getWorkName() const noexcept { return workName; }
    void setWorkName(std::wstring value) { workName = std::move(value); }

    // The work coordinate system (WCS).
    Vector3D const& getWCSOrigin() const noexcept { return wcsOrigin; }
    void setWCSOrigin(Vector3D const& value) noexcept { wcsOrigin = value; }
    Matrix3x3 const& getWCSPlane() const noexcept { return wcsPlane; }
    void setWCSPlane(Matrix3x3 const& value) noexcept { wcsPlane = value; }
    Matrix4x4 getWCS() const noexcept { return makeSystem(wcsOrigin, wcsPlane); }
    void setWCS(Matrix4x4 const& system) noexcept { takeApart(system, wcsOrigin, wcsPlane); }

    // The dynamic WCS.
    Vector3D const& getDynamicWCSOrigin() const noexcept { return dynamicWcsOrigin; }
    void setDynamicWCSOrigin(Vector3D const& value) noexcept { dynamicWcsOrigin = value; }
    Matrix3x3 const& getDynamicWCSPlane() const noexcept { return dynamicWcsPlane; }
    void setDynamicWCSPlane(Matrix3x3 const& value) noexcept { dynamicWcsPlane = value; }
    Matrix4x4 getDynamicWCS() const noexcept { return makeSystem(dynamicWcsOrigin, dynamicWcsPlane); }
    void setDynamicWCS(Matrix4x4 const& system) noexcept { takeApart(system, dynamicWcsOrigin, dynamicWcsPlane); }

    // The fixture coordinate system (FCS).
    std::wstring const& getFixtureName() const noexcept { return fixtureName; }
    void setFixtureName(std::wstring value) { fixtureName = std::move(value); }
    Vector3D const& getFCSOrigin() const noexcept { return fcsOrigin; }
    void setFCSOrigin(Vector3D const& value) noexcept { fcsOrigin = value; }
    Matrix3x3 const& getFCSPlane() const noexcept { return fcsPlane; }
    void setFCSPlane(Matrix3x3 const& value) noexcept { fcsPlane = value; }
    Matrix4x4 getFCS() const noexcept { return makeSystem(fcsOrigin, fcsPlane); }
    void setFCS(Matrix4x4 const& system) noexcept { takeApart(system, fcsOrigin, fcsPlane); }

    // The model system.
    Vector3D const& getModelOrigin() const noexcept { return modelOrigin; }
    void setModelOrigin(Vector3D const& value) noexcept { modelOrigin = value; }
    Matrix3x3 const& getModelPlane() const noexcept { return modelPlane; }
    void setModelPlane(Matrix3x3 const& value) noexcept { modelPlane = value; }
    Matrix4x4 getModel() const noexcept { return makeSystem(modelOrigin, modelPlane); }
    void setModel(Matrix4x4 const& system) noexcept { takeApart(system, modelOrigin, modelPlane); }

    double getTurningToolOrientation() const noexcept { return turningToolOrientation; }
    void setTurningToolOrientation(double value) noexcept { turningToolOrientation = value; }
    TiltMode getTiltMode() const noexcept { return tiltMode; }
    void setTiltMode(TiltMode value) noexcept { tiltMode = value; }
    JetMode getJetMode() const noexcept { return jetMode; }
    void setJetMode(JetMode value) noexcept { jetMode = value; }

    bool isAxisSubstitution() const noexcept { return axisSubstitution; }
    void setAxisSubstitution(bool value) noexcept { axisSubstitution = value; }
    // The stored reciprocal of the substitution radius: 0 when none was set, -1 for a
    // non-positive radius.
    double getInverseAxisSubstitutionRadius() const noexcept { return inverseAxisSubstitutionRadius; }
    void setInverseAxisSubstitutionRadius(double value) noexcept { inverseAxisSubstitutionRadius = value; }
    // Stores 1 / radius for a positive radius and -1 otherwise.
    void setAxisSubstitutionRadius(double radius) noexcept;
    // 1 / the stored reciprocal: +infinity when no radius was set, -1 after a non-positive one.
    double getAxisSubstitutionRadius() const noexcept { return 1.0 / inverseAxisSubstitutionRadius; }

    unsigned int getWorkOffset() const noexcept { return workOffset; }
    void setWorkOffset(unsigned int value) noexcept { workOffset = value; }
    // NO_DYNAMIC_WORK_OFFSET when there is none.
    unsigned int getDynamicWorkOffset() const noexcept { return dynamicWorkOffset; }
    void setDynamicWorkOffset(unsigned int value) noexcept { dynamicWorkOffset = value; }
    // The dynamic work offset when there is one, else the work offset.
    unsigned int getEffectiveWorkOffset() const noexcept
    {
        return dynamicWorkOffset != NO_DYNAMIC_WORK_OFFSET ? dynamicWorkOffset : workOffset;
    }

    bool isDisjoint() const noexcept { return disjoint; }
    void setDisjoint(bool value) noexcept { disjoint = value; }
    unsigned int getQuality() const noexcept { return quality; }
    void setQuality(unsigned int value) noexcept { quality = value; }
    bool getTailstock() const noexcept { return tailstock; }
    void setTailstock(bool value) noexcept { tailstock = value; }
    bool getPartCatcher() const noexcept { return partCatcher; }
    void setPartCatcher(bool value) noexcept { partCatcher = value; }
    unsigned int getSpindle() const noexcept { return spindle; }
    void setSpindle(unsigned int value) noexcept { spindle = value; }
    FeedMode getFeedMode() const noexcept { return feedMode; }
    void setFeedMode(FeedMode value) noexcept { feedMode = value; }
    unsigned int getInternalId() const noexcept { return internalId; }
    void setInternalId(unsigned int value) noexcept { internalId = value; }
    unsigned int getInternalGroupId() const noexcept { return internalGroupId; }
    void setInternalGroupId(unsigned int value) noexcept { internalGroupId = value; }
    unsigned int getPatternId() const noexcept { return patternId; }
    void setPatternId(unsigned int value) noexcept { patternId = value; }
    bool isOptional() const noexcept { return optional; }
    void setOptional(bool value) noexcept { optional = value; }
    MultiAxisMode getMultiAxisMode() const noexcept { return multiAxisMode; }
    void setMultiAxisMode(MultiAxisMode value) noexcept { multiAxisMode = value; }
    bool getForceToolChange() const noexcept { return forceToolChange; }
    void setForceToolChange(bool value) noexcept { forceToolChange = value; }
    unsigned int getChannel() const noexcept { return channel; }
    void setChannel(unsigned int value) noexcept { channel = value; }

    // The unit vector of the tool axis: X, Y, or Z for any value but 0 and 1.
    Vector3D getToolAxisVector() const noexcept;
    // The component of v along the tool axis.
    double getAxis(Vector3D const& v) const noexcept;

    // Maps coordinates given in the work system (in the context's unit) to millimetres in the
    // parent system: S(f) x T(origin) x R(plane) with f the factor from the unit to
    // millimetres. Built without the scale when f is 1, so a millimetre context gets exactly
    // its work system.
    Matrix4x4 getTransformation() const;
    // The same for the WCS.
    Matrix4x4 getWCSTransformation() const;
    // The WCS transformation (which scales to millimetres) times the unscaled work system:
    // for a work system expressed in the WCS (see convertWorkViewToWCS), maps work
    // coordinates to millimetres in the WCS's parent.
    Matrix4x4 getGlobalTransformation() const;

    // The matrix with columns (0,1,0), (0,0,1), (1,0,0): maps (x, y, z) to (z, x, y), turning
    // a lathe's ZX plane into the XY plane.
    static Matrix3x3 const& getZX2XYTransform() noexcept;

    // The work origin minus the WCS origin, in the parent's axes (not rotated into the WCS).
    Vector3D getOriginInWCS() const noexcept { return origin - wcsOrigin; }
    // transpose(wcsPlane) x plane: the work plane's axes expressed in the axes of an
    // orthonormal WCS plane.
    Matrix3x3 getPlaneInWCS() const noexcept { return wcsPlane.getTranspose() * plane; }
    // Re-expresses the work system in the WCS: the origin becomes
    // transpose(wcsPlane) x (origin - wcsOrigin) and the plane getPlaneInWCS(). Afterwards
    // getGlobalTransformation() equals the former getTransformation() (for an orthonormal
    // WCS plane).
    void convertWorkViewToWCS() noexcept;

    // Cleans up the planes of all five systems: components within tolerance of 0, 1 or -1
    // become exactly that, then each plane is orthonormalised (forward normalised first,
    // then right, then up), keeping its handedness.
    void makeNiceViews(double tolerance) noexcept;

    // Axis substitution wraps a linear axis onto a rotary axis. Here the rotary axis is the
    // line through the origin along the context's tool axis (index k: 0 X, 1 Y, else Z; for
    // Z a C axis). The two other axes, in cyclic order after k, are the radial axis i (angle
    // 0) and the wrapped axis j (angle +90 degrees): for k = Z they are X and Y.
    //
    // Cylindrical coordinates are (radius, angle in radians from i towards j in [-pi, pi],
    // height along k).
    Vector3D rectangularToCylindrical(Vector3D const& point) const noexcept;
    Vector3D cylindricalToRectangular(Vector3D const& cylindrical) const noexcept;
    // Wraps a point of the flat (unwrapped) program onto the cylinder: its i coordinate is
    // the distance from the rotary axis, its j coordinate the length along the circumference
    // at radius, its k coordinate the height. Returns the rectangular point, i.e.
    // cylindricalToRectangular((p_i, p_j / radius, p_k)). The radius must be positive.
    Vector3D getReplacedAxis(Vector3D const& point, double radius) const;

    // True when the two contexts describe the same setting: unknownSystem,
    // turningToolOrientation, unit, toolAxis and compensation equal; the work and WCS origins
    // within squared distance 1e-18; the work, WCS, dynamic WCS and FCS planes within squared
    // norm of difference 1e-18; and the mode fields from axisSubstitution to channel equal.
    // Names, type, tilt and jet modes, the dynamic WCS and FCS origins and the model system
    // are not compared.
    bool isSame(NCContext const& other) const noexcept;

    // Every field exactly.
    friend bool operator==(NCContext const&, NCContext const&) = default;

private:
    static Matrix4x4 makeSystem(Vector3D const& systemOrigin, Matrix3x3 const& systemPlane) noexcept
    {
        Matrix4x4 system(systemPlane);
        system.setTranslation(systemOrigin);
        return system;
    }
    static void takeApart(Matrix4x4 const& system, Vector3D& systemOrigin, Matrix3x3& systemPlane) noexcept
    {
        systemOrigin = system.getTranslation();
        systemPlane = system.getRotation();
    }
    Matrix4x4 scaledToMillimeters(Matrix4x4 const& system) const;
    // 0, 1 or 2: the component index of the tool axis.
    int getToolAxisIndex() const noexcept { return toolAxis == TOOL_AXIS_X ? 0 : (toolAxis == TOOL_AXIS_Y ? 1 : 2); }

    Type type = TYPE_MILLING;
    bool unknownSystem = false;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    ToolAxis toolAxis = TOOL_AXIS_Z;
    Compensation compensation = COMPENSATION_TIP;
    Vector3D origin;
    Matrix3x3 plane;
    std::wstring workName;
    Vector3D wcsOrigin;
    Matrix3x3 wcsPlane;
    Vector3D dynamicWcsOrigin;
    Matrix3x3 dynamicWcsPlane;
    std::wstring fixtureName;
    Vector3D fcsOrigin;
    Matrix3x3 fcsPlane;
    Vector3D modelOrigin;
    Matrix3x3 modelPlane;
    double turningToolOrientation = 0.0;
    TiltMode tiltMode = TILT_NONE;
    JetMode jetMode = JET_NONE;
    bool axisSubstitution = false;
    double inverseAxisSubstitutionRadius = 0.0;
    unsigned int workOffset = 0;
    unsigned int dynamicWorkOffset = NO_DYNAMIC_WORK_OFFSET;
    bool disjoint = false;
    unsigned int quality = 0;
    bool tailstock = false;
    bool partCatcher = false;
    unsigned int spindle = 0;
    FeedMode feedMode = FEED_PER_MINUTE;
    unsigned int internalId = 0;
    unsigned int internalGroupId = 0;
    unsigned int patternId = 0;
    bool optional = false;
    MultiAxisMode multiAxisMode = MULTI_AXIS_UNIT_VECTOR;
    bool forceToolChange = false;
    unsigned int channel = 0;
};

} // namespace Quarn
