// quarnnc validate FILE: checks a program and prints every warning and error.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCValidateStream.h"
#include "util/utility/text/JSON.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>

namespace Quarn::Tool {

namespace {

// Prints each message as it is found, so memory stays flat on programs with many faults.
class PrintingValidator final : public NCValidateStream {
public:
    // The validator itself always goes on so that every error reaches onError; whether the
    // program goes on after an error is this hook's answer.
    PrintingValidator(std::string file, bool json, bool continueAfterError)
        : file(std::move(file)), json(json), continueAfterError(continueAfterError)
    {
        setContinueOnError(true);
    }

    unsigned long errors = 0;
    unsigned long warnings = 0;

protected:
    bool onError(unsigned int index, std::wstring const& message) override
    {
        ++errors;
        print("error", index, message);
        return continueAfterError;
    }
    bool onWarning(unsigned int index, std::wstring const& message) override
    {
        ++warnings;
        print("warning", index, message);
        return NCValidateStream::onWarning(index, message);
    }

private:
    void print(char const* severity, unsigned int index, std::wstring const& message) const
    {
        if (json)
            std::printf("{\"severity\":\"%s\",\"index\":%u,\"message\":%s}\n", severity, index,
                Unicode::toUTF8(JSON::stringify(message)).c_str());
        else
            std::printf("%s:%u: %s: %s\n", file.c_str(), index, severity, Unicode::toUTF8(message).c_str());
    }

    std::string file;
    bool json;
    bool continueAfterError;
};

} // namespace

void addValidateCommand(CLI::App& app, Invocation& invocation)
{
    struct Arguments {
        std::string format = "text";
        bool continueOnError = false, strict = false;
        double maxSpiral = 0.0, tolerance = 1e-6;
    };
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = addFileCommand(app, invocation, "validate",
        "Check a program; exit 0 when clean, 1 on warnings with --strict, 2 on errors",
        [arguments](std::string const& input, RunOptions const& options) {
            Format const& format = detectInput(input);
            NCStreamDefaultImpl end;
            PrintingValidator validator(input, arguments->format == "json", arguments->continueOnError);
            validator.setNCStream(&end);
            validator.setMaximumSpiralRadiiAllowance(arguments->maxSpiral);
            validator.setMaximumError(arguments->tolerance);
            replay(format, input, validator, options);
            if (arguments->format == "json")
                std::printf("{\"errors\":%lu,\"warnings\":%lu}\n", validator.errors, validator.warnings);
            else
                std::printf("%s: %lu error%s, %lu warning%s\n", input.c_str(), validator.errors,
                    validator.errors == 1 ? "" : "s", validator.warnings, validator.warnings == 1 ? "" : "s");
            if (validator.errors > 0)
                return static_cast<int>(ExitErrors);
            return arguments->strict && validator.warnings > 0 ? static_cast<int>(ExitWarnings) : 0;
        });
    command->add_flag("--continue-on-error", arguments->continueOnError, "Go on after the first error");
    command->add_flag("--strict", arguments->strict, "Exit with 1 when there are warnings");
    command
        ->add_option("--max-spiral", arguments->maxSpiral,
            "Largest allowed difference of start and end radius of an arc (0: no check)")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--tolerance", arguments->tolerance, "Tolerance of the unit-length checks")
        ->check(CLI::PositiveNumber);
    command->add_option("--format", arguments->format, "Output: text or json (one object per line)")
        ->check(CLI::IsMember({"text", "json"}));
}

} // namespace Quarn::Tool
