// The tool of a section: its geometry plus numbering, spindle, coolant and jet settings.
#pragma once

#include "nc/nc/NCUnit.h"
#include "nc/nc/tool/ToolGeometry.h"
#include "util/utility/Export.h"
#include "util/utility/Validified.h"

#include <string>
#include <string_view>
#include <utility>

namespace Quarn {

// Groups of fields compared by NCTool::isSame (NCTool::ComparisonOptions); every field
// belongs to exactly one group. Defined outside NCTool so that {} can be its default argument.
struct NCToolComparisonOptions {
    // The ToolGeometry record, numberOfFlutes, boringBarOrientation, minimumDiameter.
    bool geometry = true;
    // number, turret, holderNumber, stationNumber, halfIndex, customId and the five
    // diameter, length and compensation offsets.
    bool numbering = true;
    // spindleMode, spindleRPM, rampingSpindleRPM, spindleDirection, surfaceSpeed,
    // maximumSpindleSpeed, maximumRotationalSpeed, liveTool, nestedLiveTool.
    bool spindle = true;
    bool coolantAndMaterial = true;
    // capabilities, maximumRampAngle, maximumAxialStep, maximumRadialStep,
    // manualToolChange, breakControl.
    bool usage = true;
    // toolId and the descriptive texts (description to aggregateId).
    bool texts = true;
    // machineQualityControl, cutHeight, pierceHeight, pressure, pierceTime,
    // abrasiveFlowRate, piercePower, cutPower, assistGas.
    bool jet = true;
};

// A plain copyable record sent with onTool before each section. Lengths are in the
// geometry's unit (getUnit), angles in degrees, spindle speeds in revolutions per minute.
class QUARN_NC_EXPORT NCTool : public ToolGeometry {
public:
    // Texts (getCoolantAsString): "none", "flood", "mist", "through-tool", "air",
    // "air-through-tool", "suction", "flood-mist", "flood-through-tool".
    enum Coolant : unsigned int {
        COOLANT_NONE = 0,
        COOLANT_FLOOD = 1,
        COOLANT_MIST = 2,
        COOLANT_THROUGH_TOOL = 3,
        COOLANT_AIR = 4,
        COOLANT_AIR_THROUGH_TOOL = 5,
        COOLANT_SUCTION = 6,
        COOLANT_FLOOD_MIST = 7,
        COOLANT_FLOOD_THROUGH_TOOL = 8
    };
    static constexpr unsigned int COOLANT_COUNT = 9;

    // Cutting material. Texts (getMaterialAsString): "unknown", "high-speed-steel", "carbide",
    // "coated-carbide", "cermet", "ceramic", "cubic-boron-nitride", "diamond".
    enum Material : unsigned int {
        MATERIAL_UNKNOWN = 0,
        MATERIAL_HIGH_SPEED_STEEL = 1,
        MATERIAL_CARBIDE = 2,
        MATERIAL_COATED_CARBIDE = 3,
        MATERIAL_CERMET = 4,
        MATERIAL_CERAMIC = 5,
        MATERIAL_CUBIC_BORON_NITRIDE = 6,
        MATERIAL_DIAMOND = 7
    };
    static constexpr unsigned int MATERIAL_COUNT = 8;

    // Which spindle value drives the spindle.
    enum SpindleMode : unsigned int {
        SPINDLE_MODE_RPM = 0, // spindleRPM
        SPINDLE_MODE_SURFACE_SPEED = 1 // constant surface speed (surfaceSpeed)
    };

    // Broad class of a tool type (getToolCategory).
    enum ToolCategory : unsigned int {
        TOOL_CATEGORY_OTHER = 0, // undefined, custom and unknown types
        TOOL_CATEGORY_MILLING = 1,
        TOOL_CATEGORY_HOLE_MAKING = 2,
        TOOL_CATEGORY_TURNING = 3,
        TOOL_CATEGORY_PROBING = 4,
        TOOL_CATEGORY_JET = 5,
        TOOL_CATEGORY_DEPOSITING = 6
    };

    // Bits of capabilities.
    static constexpr unsigned int CAPABLE_OF_FINISHING = 0x1;
    static constexpr unsigned int CAPABLE_OF_ROUGHING = 0x2;

    // Groups of fields compared by isSame.
    using ComparisonOptions = NCToolComparisonOptions;

    NCTool() = default;

    // Empty text for a value outside the enumeration.
    static std::wstring getCoolantAsString(Coolant coolant);
    static std::wstring getMaterialAsString(Material material);
    // Invalid for any text but those of the enumerations.
    static Validified<Coolant> getAsCoolant(std::wstring_view text);
    static Validified<Material> getAsMaterial(std::wstring_view text);
    // TOOL_CATEGORY_OTHER for a value outside ToolGeometry::Type.
    static ToolCategory getToolCategory(ToolGeometry::Type type) noexcept;
    ToolCategory getToolCategory() const noexcept { return getToolCategory(getType()); }

    std::wstring const& getToolId() const noexcept { return toolId; }
    void setToolId(std::wstring value) { toolId = std::move(value); }
    unsigned int getNumber() const noexcept { return number; }
    void setNumber(unsigned int value) noexcept { number = value; }
    unsigned int getTurret() const noexcept { return turret; }
    void setTurret(unsigned int value) noexcept { turret = value; }
    unsigned int getHolderNumber() const noexcept { return holderNumber; }
    void setHolderNumber(unsigned int value) noexcept { holderNumber = value; }
    SpindleMode getSpindleMode() const noexcept { return spindleMode; }
    void setSpindleMode(SpindleMode value) noexcept { spindleMode = value; }
    double getSpindleRPM() const noexcept { return spindleRPM; }
    // The speed must not be negative.
    void setSpindleRPM(double newSpindleSpeed);
    double getRampingSpindleRPM() const noexcept { return rampingSpindleRPM; }
    // The speed must not be negative.
    void setRampingSpindleRPM(double newRampingSpindleSpeed);
    // True: clockwise.
    bool getSpindleDirection() const noexcept { return spindleDirection; }
    void setSpindleDirection(bool clockwise) noexcept { spindleDirection = clockwise; }
    // Length per minute.
    double getSurfaceSpeed() const noexcept { return surfaceSpeed; }
    void setSurfaceSpeed(double value) noexcept { surfaceSpeed = value; }
    double getMaximumSpindleSpeed() const noexcept { return maximumSpindleSpeed; }
    void setMaximumSpindleSpeed(double value) noexcept { maximumSpindleSpeed = value; }
    unsigned int getDiameterOffset() const noexcept { return diameterOffset; }
    void setDiameterOffset(unsigned int value) noexcept { diameterOffset = value; }
    unsigned int getLengthOffset() const noexcept { return lengthOffset; }
    void setLengthOffset(unsigned int value) noexcept { lengthOffset = value; }
    unsigned int getSecondaryLengthOffset() const noexcept { return secondaryLengthOffset; }
    void setSecondaryLengthOffset(unsigned int value) noexcept { secondaryLengthOffset = value; }
    unsigned int getCompensationOffset() const noexcept { return compensationOffset; }
    void setCompensationOffset(unsigned int value) noexcept { compensationOffset = value; }
    unsigned int getSecondaryCompensationOffset() const noexcept { return secondaryCompensationOffset; }
    void setSecondaryCompensationOffset(unsigned int value) noexcept { secondaryCompensationOffset = value; }
    bool getManualToolChange() const noexcept { return manualToolChange; }
    void setManualToolChange(bool value) noexcept { manualToolChange = value; }
    bool getBreakControl() const noexcept { return breakControl; }
    void setBreakControl(bool value) noexcept { breakControl = value; }
    // A driven tool; true by default.
    bool isLiveTool() const noexcept { return liveTool; }
    void setLiveTool(bool value) noexcept { liveTool = value; }
    Coolant getCoolant() const noexcept { return coolant; }
    void setCoolant(Coolant value) noexcept { coolant = value; }
    Material getMaterial() const noexcept { return material; }
    void setMaterial(Material value) noexcept { material = value; }
    // Bit set of CAPABLE_OF_FINISHING and CAPABLE_OF_ROUGHING.
    unsigned int getCapabilities() const noexcept { return capabilities; }
    void setCapabilities(unsigned int value) noexcept { capabilities = value; }
    bool isCapableOfFinishing() const noexcept { return (capabilities & CAPABLE_OF_FINISHING) != 0; }
    void setCapableOfFinishing(bool capable) noexcept { setCapability(CAPABLE_OF_FINISHING, capable); }
    bool isCapableOfRoughing() const noexcept { return (capabilities & CAPABLE_OF_ROUGHING) != 0; }
    void setCapableOfRoughing(bool capable) noexcept { setCapability(CAPABLE_OF_ROUGHING, capable); }
    unsigned int getNumberOfFlutes() const noexcept { return numberOfFlutes; }
    void setNumberOfFlutes(unsigned int value) noexcept { numberOfFlutes = value; }
    // Degrees.
    double getBoringBarOrientation() const noexcept { return boringBarOrientation; }
    void setBoringBarOrientation(double value) noexcept { boringBarOrientation = value; }

    std::wstring const& getDescription() const noexcept { return description; }
    void setDescription(std::wstring value) { description = std::move(value); }
    std::wstring const& getComment() const noexcept { return comment; }
    void setComment(std::wstring value) { comment = std::move(value); }
    std::wstring const& getVendor() const noexcept { return vendor; }
    void setVendor(std::wstring value) { vendor = std::move(value); }
    std::wstring const& getProductId() const noexcept { return productId; }
    void setProductId(std::wstring value) { productId = std::move(value); }
    std::wstring const& getProductLink() const noexcept { return productLink; }
    void setProductLink(std::wstring value) { productLink = std::move(value); }
    // The nested values describe the tool held inside this one (an adapter's insert).
    std::wstring const& getNestedDescription() const noexcept { return nestedDescription; }
    void setNestedDescription(std::wstring value) { nestedDescription = std::move(value); }
    std::wstring const& getNestedComment() const noexcept { return nestedComment; }
    void setNestedComment(std::wstring value) { nestedComment = std::move(value); }
    std::wstring const& getNestedVendor() const noexcept { return nestedVendor; }
    void setNestedVendor(std::wstring value) { nestedVendor = std::move(value); }
    std::wstring const& getNestedProductId() const noexcept { return nestedProductId; }
    void setNestedProductId(std::wstring value) { nestedProductId = std::move(value); }
    std::wstring const& getNestedProductLink() const noexcept { return nestedProductLink; }
    void setNestedProductLink(std::wstring value) { nestedProductLink = std::move(value); }
    bool isNestedLiveTool() const noexcept { return nestedLiveTool; }
    void setNestedLiveTool(bool value) noexcept { nestedLiveTool = value; }
    std::wstring const& getChuckCollect() const noexcept { return chuckCollect; }
    void setChuckCollect(std::wstring value) { chuckCollect = std::move(value); }
    std::wstring const& getCustomToolPath() const noexcept { return customToolPath; }
    void setCustomToolPath(std::wstring value) { customToolPath = std::move(value); }
    unsigned int getCustomId() const noexcept { return customId; }
    void setCustomId(unsigned int value) noexcept { customId = value; }
    std::wstring const& getAggregateId() const noexcept { return aggregateId; }
    void setAggregateId(std::wstring value) { aggregateId = std::move(value); }

    double getMinimumDiameter() const noexcept { return minimumDiameter; }
    void setMinimumDiameter(double value) noexcept { minimumDiameter = value; }
    // Degrees.
    double getMaximumRampAngle() const noexcept { return maximumRampAngle; }
    void setMaximumRampAngle(double value) noexcept { maximumRampAngle = value; }
    double getMaximumAxialStep() const noexcept { return maximumAxialStep; }
    void setMaximumAxialStep(double value) noexcept { maximumAxialStep = value; }
    double getMaximumRadialStep() const noexcept { return maximumRadialStep; }
    void setMaximumRadialStep(double value) noexcept { maximumRadialStep = value; }

    // Cutting by jet (waterjet, laser, plasma).
    std::wstring const& getMachineQualityControl() const noexcept { return machineQualityControl; }
    void setMachineQualityControl(std::wstring value) { machineQualityControl = std::move(value); }
    double getCutHeight() const noexcept { return cutHeight; }
    void setCutHeight(double value) noexcept { cutHeight = value; }
    double getPierceHeight() const noexcept { return pierceHeight; }
    void setPierceHeight(double value) noexcept { pierceHeight = value; }
    double getPressure() const noexcept { return pressure; }
    void setPressure(double value) noexcept { pressure = value; }
    double getPierceTime() const noexcept { return pierceTime; }
    void setPierceTime(double value) noexcept { pierceTime = value; }
    double getAbrasiveFlowRate() const noexcept { return abrasiveFlowRate; }
    void setAbrasiveFlowRate(double value) noexcept { abrasiveFlowRate = value; }
    double getPiercePower() const noexcept { return piercePower; }
    void setPiercePower(double value) noexcept { piercePower = value; }
    double getCutPower() const noexcept { return cutPower; }
    void setCutPower(double value) noexcept { cutPower = value; }
    std::wstring const& getAssistGas() const noexcept { return assistGas; }
    void setAssistGas(std::wstring value) { assistGas = std::move(value); }

    bool isHalfIndex() const noexcept { return halfIndex; }
    void setHalfIndex(bool value) noexcept { halfIndex = value; }
    unsigned int getStationNumber() const noexcept { return stationNumber; }
    void setStationNumber(unsigned int value) noexcept { stationNumber = value; }
    double getMaximumRotationalSpeed() const noexcept { return maximumRotationalSpeed; }
    void setMaximumRotationalSpeed(double value) noexcept { maximumRotationalSpeed = value; }

    // Converts every length to unit and takes it as the tool's unit: the geometry's lengths
    // and minimumDiameter, maximumAxialStep, maximumRadialStep, cutHeight, pierceHeight and
    // surfaceSpeed (length per minute). Angles, spindle speeds, pressure, times, powers and
    // the flow rate stay as they are.
    void convertToUnit(NCUnit::Unit unit);

    // True when the fields of every selected group are equal (exactly).
    bool isSame(NCTool const& other, ComparisonOptions const& options = {}) const;

    // Every field exactly.
    friend bool operator==(NCTool const&, NCTool const&) = default;

private:
    void setCapability(unsigned int bit, bool capable) noexcept
    {
        capabilities = capable ? (capabilities | bit) : (capabilities & ~bit);
    }

    std::wstring toolId;
    unsigned int number = 0;
    unsigned int turret = 0;
    unsigned int holderNumber = 0;
    SpindleMode spindleMode = SPINDLE_MODE_RPM;
    double spindleRPM = 0.0;
    double rampingSpindleRPM = 0.0;
    bool spindleDirection = true;
    double surfaceSpeed = 0.0;
    double maximumSpindleSpeed = 0.0;
    unsigned int diameterOffset = 0;
    unsigned int lengthOffset = 0;
    unsigned int secondaryLengthOffset = 0;
    unsigned int compensationOffset = 0;
    unsigned int secondaryCompensationOffset = 0;
    bool manualToolChange = false;
    bool breakControl = false;
    bool liveTool = true;
    Coolant coolant = COOLANT_NONE;
    Material material = MATERIAL_UNKNOWN;
    unsigned int capabilities = CAPABLE_OF_FINISHING | CAPABLE_OF_ROUGHING;
    unsigned int numberOfFlutes = 1;
    double boringBarOrientation = 0.0;
    std::wstring description;
    std::wstring comment;
    std::wstring vendor;
    std::wstring productId;
    std::wstring productLink;
    std::wstring nestedDescription;
    std::wstring nestedComment;
    std::wstring nestedVendor;
    std::wstring nestedProductId;
    std::wstring nestedProductLink;
    bool nestedLiveTool = false;
    std::wstring chuckCollect;
    std::wstring customToolPath;
    unsigned int customId = 0;
    std::wstring aggregateId;
    double minimumDiameter = 0.0;
    double maximumRampAngle = 90.0;
    double maximumAxialStep = 100.0;
    double maximumRadialStep = 100.0;
    std::wstring machineQualityControl;
    double cutHeight = 0.0;
    double pierceHeight = 0.0;
    double pressure = 0.0;
    double pierceTime = 0.0;
    double abrasiveFlowRate = 0.0;
    double piercePower = 0.0;
    double cutPower = 0.0;
    std::wstring assistGas;
    bool halfIndex = false;
    unsigned int stationNumber = 0;
    double maximumRotationalSpeed = 1000.0;
};

} // namespace Quarn
