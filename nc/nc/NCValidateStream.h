// Filter that checks the order of a program's events and the numbers they carry, and reports what it finds.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "util/utility/math/Vector3D.h"
#include "util/utility/text/Variant.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace Quarn {

// Passes every event on unchanged; never repairs one. Each finding is an error or a warning:
// it is counted, optionally logged (at most 40 messages) and offered to the hooks onError and
// onWarning, whose answer decides whether the event is forwarded. A refused event returns false
// and leaves the state as it was at that check. With continueOnError off the first error
// refuses at once, without asking the hook. Comments, pass-through text, stock, turning groups,
// machine axes and frames pass unchecked. An event allocates only to build a message or to copy
// a context or tool; the checks never throw.
class QUARN_NC_EXPORT NCValidateStream : public FilterNCStream {
public:
    NCValidateStream() = default;
    explicit NCValidateStream(SafePointer<NCStream> next) noexcept : FilterNCStream(next) { }
    NCValidateStream(NCValidateStream const&) = default;
    NCValidateStream(NCValidateStream&&) = default;
    NCValidateStream& operator=(NCValidateStream const&) = default;
    NCValidateStream& operator=(NCValidateStream&&) = default;
    ~NCValidateStream() override;

    // Lines "Error: text", "Warning: text", or "Error [line]: text" once a line number is known,
    // separated by line feeds.
    std::wstring const& getLog() const noexcept { return log; }
    bool hasError() const noexcept { return errorReported; }
    bool hasWarning() const noexcept { return warningReported; }
    bool isValid() const noexcept { return valid; }
    bool getContinueOnError() const noexcept { return continueOnError; }
    void setContinueOnError(bool value) noexcept { continueOnError = value; }
    // Tolerance of the unit-length tests, which compare the squared length with 1.
    double getMaximumError() const noexcept { return maximumError; }
    void setMaximumError(double value) noexcept { maximumError = value; }
    // Largest difference of start and end radius of an arc; 0 turns the spiral test off.
    void setMaximumSpiralRadiiAllowance(double value) noexcept { maximumSpiralRadiiAllowance = value; }
    void setUseLog(bool value) noexcept { useLog = value; }

    // Process-wide debugging switches: stop in an attached debugger at every error or warning.
    static void setBreakOnError(bool value) noexcept;
    static bool getBreakOnError() noexcept;
    static void setBreakOnWarning(bool value) noexcept;
    static bool getBreakOnWarning() noexcept;

    using FilterNCStream::onParameter;
    bool onCommand(Command command) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onOpen() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    // Every motion event. The four-vector onRapid5D, unlike the two-vector form, applies the
    // cutting-state steps of a feed move.
#include "nc/nc/NCMotionOverrides.inc"
    bool onSkip() override;
    bool onLineNumber(unsigned int line) override;
    bool onClose() override;

protected:
    bool isOpen() const noexcept { return open; }
    bool isSectionOpen() const noexcept { return sectionOpen; }
    bool isGroupOpen() const noexcept { return groupOpen; }

    // Count, log and pass a finding to its hook; false means the event is refused.
    bool onErrorImpl(std::wstring const& message);
    bool onWarningImpl(std::wstring const& message);

    // Whether to go on after a finding. index is the last line number once one is known, else
    // the number of events forwarded so far. The defaults go on after warnings, and after errors
    // as continueOnError says.
    virtual bool onError(unsigned int index, std::wstring const& message);
    virtual bool onWarning(unsigned int index, std::wstring const& message);

private:
    bool error(std::wstring_view message, std::initializer_list<Variant> arguments);
    bool warning(std::wstring_view message, std::initializer_list<Variant> arguments);
    void appendToLog(wchar_t const* withLine, wchar_t const* withoutLine, std::wstring const& message);
    unsigned int getMessageIndex() const noexcept;
    bool isUnitLength(Vector3D const& v) const noexcept;

    bool validateFeedrate(double feedrate);
    bool validateNegativeFeedrate(double feedrate);
    bool validateToolAxis(Vector3D const& direction);
    bool validateToolFrame(Vector3D const& z, Vector3D const& x, Vector3D const& n);
    bool validateFrameVectors(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n);
    bool validatePlane(
        Vector3D const& origin, Matrix3x3 const& plane, wchar_t const* originMessage, wchar_t const* planeMessage);
    bool validateContext(NCContext const& newContext);
    bool validateTool(NCTool const& newTool);
    bool validateCurve(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags, wchar_t const* pointMessage, wchar_t const* endMessage, wchar_t const* feedrateMessage);
    // The cutting-state steps before a feed move's remaining checks; every feed move uses them.
    bool validateCircularFlags(unsigned int flags);
    // The cutting-state step after the checks, and the new position.
    void finishFeedMove(Vector3D const& end, unsigned int flags) noexcept;
    bool validateCircularGeneral();
    bool validateArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags);
    bool validateCirularParameters(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate);
    bool validateCirularParameters(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate);
    bool validateCirularExtrudeParameters(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, double extrusion);
    bool validateCirularExtrudeParameters(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
        double sweep, double feedrate, double extrusion);

    Vector3D position;
    bool valid = true;
    bool continueOnError = true;
    bool open = false;
    bool sectionOpen = false;
    bool groupOpen = false;
    // A cutting move was started by FLAG_START_CUTTING and not yet ended.
    bool cutting = false;
    // An onContext arrived since the last onSection.
    bool contextSet = false;
    // An onTool arrived for the current section.
    bool toolSet = false;
    unsigned int lineNumber = 0;
    double maximumError = 1e-6;
    // "content-spiral" was given non-zero in this section: arcs may change their radius.
    bool contentSpiral = false;
    // Some move has set position; survives sections.
    bool positionKnown = false;
    // Some group has been opened; survives sections.
    bool groupSeen = false;
    // A five-axis move passed in the current section.
    bool multiAxis = false;
    NCContext context;
    NCTool tool;
    unsigned int eventCount = 0;
    bool lineNumberKnown = false;
    bool errorReported = false;
    bool warningReported = false;
    double maximumSpiralRadiiAllowance = 0.0;
    std::wstring log;
    bool useLog = false;
    unsigned int loggedCount = 0;
    unsigned int maximumLogged = 40;
};

} // namespace Quarn
