// quarnnc transform IN OUT: moves, rotates and mirrors a program and writes it in any format.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/FormatRegistry.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/AnyTransformNCStream.h"
#include "nc/nc/MirrorTransformNCStream.h"
#include "util/utility/math/Matrix4x4.h"

#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <vector>

namespace Quarn::Tool {

namespace {

std::vector<double> numbers(std::string const& text, std::size_t count, char const* option)
{
    std::vector<double> values;
    char const* position = text.data();
    char const* const end = text.data() + text.size();
    while (position < end) {
        double value = 0;
        auto [next, error] = std::from_chars(position, end, value);
        if (error != std::errc() || !std::isfinite(value))
            break;
        values.push_back(value);
        position = next;
        if (position < end && *position == ',')
            ++position;
        else
            break;
    }
    if (values.size() != count || position != end)
        throw ToolError(ExitUsage, "",
            std::string(option) + " takes " + std::to_string(count) + " comma-separated numbers, not '" + text + "'.");
    return values;
}

Matrix3x3 rotation(std::string const& text)
{
    if (text.size() < 3 || text[1] != ',' || (text[0] != 'x' && text[0] != 'y' && text[0] != 'z'))
        throw ToolError(ExitUsage, "", "--rotate takes an axis x, y or z and degrees, as in z,90.");
    double const angle = numbers(text.substr(2), 1, "--rotate")[0] * std::numbers::pi / 180.0;
    double const c = std::cos(angle), s = std::sin(angle);
    switch (text[0]) {
    case 'x':
        return Matrix3x3({1, 0, 0}, {0, c, s}, {0, -s, c});
    case 'y':
        return Matrix3x3({c, 0, -s}, {0, 1, 0}, {s, 0, c});
    default:
        return Matrix3x3({c, s, 0}, {-s, c, 0}, {0, 0, 1});
    }
}

Vector3D mirrorNormal(std::string const& plane)
{
    if (plane == "yz")
        return {1, 0, 0};
    if (plane == "zx" || plane == "xz")
        return {0, 1, 0};
    if (plane == "xy")
        return {0, 0, 1};
    throw ToolError(ExitUsage, "", "--mirror takes a plane through the origin: xy, yz or zx.");
}

} // namespace

void addTransformCommand(CLI::App& app, Invocation& invocation)
{
    struct Arguments {
        std::string input, output, to, translate, rotate, mirror, orientation;
        double axialOffset = 0.0;
        WriterOptions writer;
    };
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(
        "transform", "Move, rotate or mirror a program (mirror first, then rotate, then translate)");
    command->add_option("IN", arguments->input, "Input program")->required();
    command
        ->add_option("OUT", arguments->output,
            "Output file; its extension chooses the format: " + FormatRegistry::writerExtensions())
        ->required();
    command->add_option(
        "--to", arguments->to, "Output format: " + FormatRegistry::writerNames() + " (default: from OUT's extension)");
    command->add_option("--translate", arguments->translate, "Translation X,Y,Z");
    command->add_option("--rotate", arguments->rotate, "Rotation AXIS,DEGREES about x, y or z, as in z,90");
    command->add_option("--mirror", arguments->mirror, "Mirror in a plane through the origin: xy, yz or zx");
    command->add_option("--axial-offset", arguments->axialOffset, "Shift every move along the tool axis");
    command->add_option("--orientation", arguments->orientation,
        "Work plane of the result, as its x axis and z axis: XX,XY,XZ,ZX,ZY,ZZ");
    addWriterOptions(*command, arguments->writer);
    addReaderOptions(*command, invocation.options.reader);
    addExpandCyclesFlag(*command, invocation.options.reader);
    command->callback([arguments, &invocation] {
        invocation.run = [arguments, &invocation] {
            Format const& format = chooseOutputFormat(arguments->to, arguments->output);
            Matrix4x4 transform;
            if (!arguments->rotate.empty())
                transform = Matrix4x4(rotation(arguments->rotate));
            if (!arguments->translate.empty()) {
                auto t = numbers(arguments->translate, 3, "--translate");
                transform = Matrix4x4::makeTranslation({t[0], t[1], t[2]}) * transform;
            }
            std::optional<Matrix3x3> orientation;
            if (!arguments->orientation.empty()) {
                auto v = numbers(arguments->orientation, 6, "--orientation");
                Vector3D const x = Vector3D(v[0], v[1], v[2]).getNormalized();
                Vector3D const z = Vector3D(v[3], v[4], v[5]).getNormalized();
                if (!x.isProper() || !z.isProper() || std::abs(x.dot(z)) > 1e-9)
                    throw ToolError(ExitUsage, "", "--orientation needs two orthogonal axes.");
                orientation = Matrix3x3(x, z.cross(x), z);
            }
            std::optional<Vector3D> mirror;
            if (!arguments->mirror.empty())
                mirror = mirrorNormal(arguments->mirror);

            AnyTransformNCStream transformer;
            transformer.setTransform(transform);
            transformer.setAxialOffset(arguments->axialOffset);
            if (orientation)
                transformer.setDesiredOrientation(*orientation);
            MirrorTransformNCStream mirrorer;
            if (mirror)
                mirrorer.setPlane({0, 0, 0}, *mirror);
            return writeThrough(arguments->input, arguments->output, format, arguments->writer, invocation.options,
                [&](NCStream& writer) -> NCStream& {
                    transformer.setNCStream(&writer);
                    if (!mirror)
                        return transformer;
                    mirrorer.setNCStream(&transformer);
                    return mirrorer;
                });
        };
    });
}

} // namespace Quarn::Tool
