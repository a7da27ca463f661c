// quarnnc diff A B: whether two programs follow one path of the tool tip (NCCompare), told in one
// look as text or as one JSON object; exit 0 when they agree within the tolerance, 1 when not.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCCompare.h"
#include "util/utility/text/JSON.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quarn::Tool {

namespace {

using Deviations = NCCompare::Deviations;
using Differences = NCCompare::Differences;
using Location = NCCompare::Location;
using Place = NCCompare::Place;
using Result = NCCompare::Result;

struct DiffArguments {
    std::string a;
    std::string b;
    NCCompare::Options compare;
    std::string format = "text";
};

// One of the two programs: its name as given, and whether its locations are lines of the file.
struct Side {
    std::string const& name;
    bool fileLines;
};

// Fixed-point with `decimals` digits, never "-0.0000".
std::string fixed(double value, int decimals)
{
    char buffer[400];
    auto const [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    if (error != std::errc())
        return NumberFormat::toString(value);
    std::string text(buffer, end);
    if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos)
        text.erase(0, 1);
    return text;
}

// The shortest fixed-point text that reads back as the value: tolerances as given ("0.000001").
std::string plain(double value)
{
    char buffer[400];
    auto const [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return error == std::errc() ? std::string(buffer, end) : NumberFormat::toString(value);
}

// A feed or a spindle speed: at most four decimals, no trailing zeros.
std::string figure(double value)
{
    std::string text = fixed(value, 4);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text;
}

// Digits that show a deviation to a tenth of its tolerance, and at least four.
int digitsFor(double tolerance) { return std::max(4, static_cast<int>(std::ceil(-std::log10(tolerance))) + 1); }

std::string counted(std::uint64_t count, char const* one, char const* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string pointText(Vector3D const& point)
{
    return "X" + fixed(point.x, 4) + " Y" + fixed(point.y, 4) + " Z" + fixed(point.z, 4);
}

std::string at(Side const& side, Location const& location)
{
    if (side.fileLines && location.line)
        return side.name + " line " + std::to_string(*location.line);
    return side.name + " event " + std::to_string(location.event);
}

// How the deviations of the path or of the tool axis print.
struct Measure {
    char const* unit; // " mm", "°"
    double tolerance;
    // Both points of a place, for the path; the point of a alone, for the tool axis.
    bool bothPoints;
};

std::string placeText(Place const& place, Measure const& measure, Side const& a, Side const& b)
{
    std::string const deviation = fixed(place.deviation, digitsFor(measure.tolerance)) + measure.unit + " apart";
    if (!measure.bothPoints)
        return deviation + " at " + pointText(place.pointA) + " (" + at(a, place.a) + ", " + at(b, place.b) + ")";
    return deviation + ": " + pointText(place.pointA) + " (" + at(a, place.a) + ") and " + pointText(place.pointB)
        + " (" + at(b, place.b) + ")";
}

std::string deviationsLine(Deviations const& deviations, Measure const& measure, Side const& a, Side const& b)
{
    if (deviations.partings == 0) {
        std::string text = "agree";
        if (deviations.largest)
            text += ", largest " + fixed(deviations.largest->deviation, digitsFor(measure.tolerance)) + measure.unit;
        return text + " (tolerance " + plain(measure.tolerance) + measure.unit + ")";
    }
    std::string text = counted(deviations.partings, "parting", "partings");
    if (!deviations.firstParting || !deviations.largest)
        return text;
    Place const& first = *deviations.firstParting;
    Place const& largest = *deviations.largest;
    text += ", first " + placeText(first, measure, a, b);
    if (first.a == largest.a && first.b == largest.b && first.deviation == largest.deviation)
        return text + "; largest there too";
    return text + "; largest " + placeText(largest, measure, a, b);
}

std::string differencesLine(
    Differences const& differences, bool compared, std::string (*value)(double), Side const& a, Side const& b)
{
    if (!compared)
        return "not compared";
    if (differences.count == 0)
        return "agree";
    std::string const text = counted(differences.count, "difference", "differences");
    if (!differences.first)
        return text;
    NCCompare::ValueDifference const& first = *differences.first;
    return text + ", first at " + pointText(first.point) + " (" + at(a, first.a) + ": " + value(first.valueA) + ", "
        + at(b, first.b) + ": " + value(first.valueB) + ")";
}

// Feeds print as the F word holds them: millimetres per minute, or per revolution or inverse time
// as the program feeds.
std::string feedText(double feed) { return std::isnan(feed) ? "rapid" : "F" + figure(feed); }
std::string spindleText(double speed) { return figure(speed) + " rpm"; }
std::string toolText(double number) { return "T" + figure(number); }

// What the comparison did not cover, as one line; "" when it covered everything.
std::string notCompared(Result const& result, Side const& a, Side const& b)
{
    std::string text;
    auto const add = [&text](std::string const& item) { text += (text.empty() ? "" : "; ") + item; };
    auto const counts = [&a, &b](std::uint64_t inA, std::uint64_t inB) {
        std::string const first = inA > 0 ? std::to_string(inA) + " in " + a.name : "";
        std::string const second = inB > 0 ? std::to_string(inB) + " in " + b.name : "";
        return first + (first.empty() || second.empty() ? "" : ", ") + second;
    };
    if (result.curvesAsChordsA > 0 || result.curvesAsChordsB > 0)
        add("splines, Bezier curves and NURBS taken as straight lines: "
            + counts(result.curvesAsChordsA, result.curvesAsChordsB));
    if (result.axisValueMovesA > 0 || result.axisValueMovesB > 0)
        add("the tool axes of five-axis moves that carry axis values: "
            + counts(result.axisValueMovesA, result.axisValueMovesB));
    for (auto const& [stopped, side] : {std::pair {result.stoppedA, &a}, std::pair {result.stoppedB, &b}})
        if (stopped)
            add("the rest of " + side->name + ", stopped before its end");
    return text;
}

void printText(std::ostream& out, Result const& result, NCCompare::Options const& options, Side const& a, Side const& b)
{
    Measure const path {" mm", options.tolerance, true};
    Measure const axis {"°", options.axisTolerance, false};
    std::string const both = a.name + " and " + b.name;
    if (result.agree()) {
        out << both << " agree within " << plain(options.tolerance) << " mm";
        if (Place const* largest = result.path.largest ? &*result.path.largest : nullptr) {
            std::string const deviation = fixed(largest->deviation, digitsFor(options.tolerance));
            out << ": largest deviation " << deviation << " mm";
            // Where a deviation that prints as zero lies tells nothing.
            if (deviation.find_first_not_of("0.") != std::string::npos)
                out << " at " << pointText(largest->pointA) << " (" << at(a, largest->a) << ", " << at(b, largest->b)
                    << ")";
        }
        out << ".\n";
    } else {
        std::vector<std::string> items;
        auto const parted = [&items](Deviations const& deviations, char const* what, Measure const& measure) {
            if (deviations.partings == 0)
                return;
            std::string item = std::string(what) + " part at " + counted(deviations.partings, "place", "places");
            if (deviations.largest)
                item += ", by up to " + fixed(deviations.largest->deviation, digitsFor(measure.tolerance))
                    + measure.unit;
            items.push_back(item + " (tolerance " + plain(measure.tolerance) + measure.unit + ")");
        };
        parted(result.path, "the paths", path);
        parted(result.axis, "the tool axes", axis);
        auto const differing = [&items](Differences const& differences, char const* one, char const* many) {
            if (differences.count > 0)
                items.push_back(counted(differences.count, one, many));
        };
        differing(result.feeds, "feed difference", "feed differences");
        differing(result.spindle, "spindle speed difference", "spindle speed differences");
        differing(result.tools, "tool difference", "tool differences");
        out << both << " differ: ";
        for (std::size_t i = 0; i < items.size(); ++i)
            out << (i > 0 ? "; " : "") << items[i];
        out << ".\n";
    }
    out << "  path         " << deviationsLine(result.path, path, a, b) << "\n";
    out << "  tool axis    " << deviationsLine(result.axis, axis, a, b) << "\n";
    out << "  feed         " << differencesLine(result.feeds, options.compareFeeds, feedText, a, b) << "\n";
    out << "  spindle      " << differencesLine(result.spindle, options.compareSpindle, spindleText, a, b) << "\n";
    out << "  tools        " << differencesLine(result.tools, options.compareTools, toolText, a, b) << "\n";
    out << "  moves        " << result.movesA << " in " << a.name << ", " << result.movesB << " in " << b.name << "\n";
    if (std::string const left = notCompared(result, a, b); !left.empty())
        out << "  not compared " << left << "\n";
}

// Shortest round-trip numbers; null for what is not finite (the feed of a rapid).
std::string jsonNumber(double value) { return std::isfinite(value) ? NumberFormat::toString(value) : "null"; }
std::string jsonBool(bool value) { return value ? "true" : "false"; }
std::string jsonString(std::string const& utf8) { return Unicode::toUTF8(JSON::stringify(std::string_view(utf8))); }

std::string jsonPoint(Vector3D const& point)
{
    return "[" + jsonNumber(point.x) + "," + jsonNumber(point.y) + "," + jsonNumber(point.z) + "]";
}

// The line only where it is the file's: another format's line numbers are those the program holds.
std::string jsonLocation(Location const& location, Side const& side)
{
    return "{\"event\":" + std::to_string(location.event)
        + ",\"line\":" + (side.fileLines && location.line ? std::to_string(*location.line) : "null")
        + ",\"section\":" + std::to_string(location.section) + "}";
}

std::string jsonPlace(std::optional<Place> const& place, Side const& a, Side const& b)
{
    if (!place)
        return "null";
    return "{\"deviation\":" + jsonNumber(place->deviation) + ",\"pointA\":" + jsonPoint(place->pointA)
        + ",\"pointB\":" + jsonPoint(place->pointB) + ",\"a\":" + jsonLocation(place->a, a)
        + ",\"b\":" + jsonLocation(place->b, b) + "}";
}

std::string jsonDeviations(Deviations const& deviations, Side const& a, Side const& b)
{
    return "{\"partings\":" + std::to_string(deviations.partings) + ",\"firstParting\":"
        + jsonPlace(deviations.firstParting, a, b) + ",\"largest\":" + jsonPlace(deviations.largest, a, b) + "}";
}

std::string jsonDifferences(Differences const& differences, Side const& a, Side const& b)
{
    std::string text = "{\"count\":" + std::to_string(differences.count) + ",\"first\":";
    if (!differences.first)
        return text + "null}";
    NCCompare::ValueDifference const& first = *differences.first;
    return text + "{\"point\":" + jsonPoint(first.point) + ",\"valueA\":" + jsonNumber(first.valueA) + ",\"valueB\":"
        + jsonNumber(first.valueB) + ",\"a\":" + jsonLocation(first.a, a) + ",\"b\":" + jsonLocation(first.b, b) + "}}";
}

std::string jsonPair(std::uint64_t a, std::uint64_t b)
{
    return "{\"a\":" + std::to_string(a) + ",\"b\":" + std::to_string(b) + "}";
}

void printJSON(std::ostream& out, Result const& result, NCCompare::Options const& options, Side const& a,
    Format const& formatA, Side const& b, Format const& formatB)
{
    auto const file = [](Side const& side, Format const& format) {
        return "{\"file\":" + jsonString(side.name) + ",\"format\":" + jsonString(std::string(format.name))
            + ",\"fileLines\":" + jsonBool(side.fileLines) + "}";
    };
    out << "{\"a\":" << file(a, formatA) << ",\"b\":" << file(b, formatB)
        << ",\"options\":{\"tolerance\":" << jsonNumber(options.tolerance)
        << ",\"axisTolerance\":" << jsonNumber(options.axisTolerance)
        << ",\"compareFeeds\":" << jsonBool(options.compareFeeds)
        << ",\"compareSpindle\":" << jsonBool(options.compareSpindle)
        << ",\"compareTools\":" << jsonBool(options.compareTools) << "},\"agree\":" << jsonBool(result.agree())
        << ",\"path\":" << jsonDeviations(result.path, a, b) << ",\"axis\":" << jsonDeviations(result.axis, a, b)
        << ",\"feeds\":" << jsonDifferences(result.feeds, a, b)
        << ",\"spindle\":" << jsonDifferences(result.spindle, a, b)
        << ",\"tools\":" << jsonDifferences(result.tools, a, b)
        << ",\"vertices\":" << jsonPair(result.verticesA, result.verticesB)
        << ",\"moves\":" << jsonPair(result.movesA, result.movesB)
        << ",\"curvesAsChords\":" << jsonPair(result.curvesAsChordsA, result.curvesAsChordsB)
        << ",\"axisValueMoves\":" << jsonPair(result.axisValueMovesA, result.axisValueMovesB)
        << ",\"stopped\":{\"a\":" << jsonBool(result.stoppedA) << ",\"b\":" << jsonBool(result.stoppedB) << "}}\n";
}

int diff(DiffArguments const& arguments, RunOptions const& runOptions)
{
    Format const& formatA = detectInput(arguments.a);
    Format const& formatB = detectInput(arguments.b);
    // The two files are read at once, so neither draws the progress bar; each block that can says
    // its line of the file.
    RunOptions options = runOptions;
    options.quiet = true;
    options.reader.fileLineNumbers = true;
    auto const source = [&options](Format const& format, std::string const& path) -> NCCompare::Source {
        return [&options, &format, &path](NCStream& target) { return replay(format, path, target, options); };
    };
    Result const result
        = NCCompare(arguments.compare).compare(source(formatA, arguments.a), source(formatB, arguments.b));
    Side const a {arguments.a, readsFileLineNumbers(formatA)};
    Side const b {arguments.b, readsFileLineNumbers(formatB)};
    if (arguments.format == "json")
        printJSON(std::cout, result, arguments.compare, a, formatA, b, formatB);
    else
        printText(std::cout, result, arguments.compare, a, b);
    return result.agree() ? ExitOk : ExitDiffer;
}

// A validator that reads a tolerance of at least `minimum` into `target`.
CLI::Validator toleranceCheck(double& target, double minimum, char const* unit)
{
    return CLI::Validator(
        [&target, minimum, unit](std::string& value) -> std::string {
            double tolerance = 0;
            auto const [end, error] = std::from_chars(value.data(), value.data() + value.size(), tolerance);
            if (error != std::errc() || end != value.data() + value.size() || !std::isfinite(tolerance)
                || !(tolerance >= minimum))
                return std::string("takes a number of ") + unit + " of at least " + plain(minimum) + ", not '" + value
                    + "'";
            target = tolerance;
            return {};
        },
        "");
}

} // namespace

void addDiffCommand(CLI::App& app, Invocation& invocation)
{
    auto arguments = std::make_shared<DiffArguments>();
    CLI::App* command = app.add_subcommand("diff",
        "Compare two programs by the path of the tool tip, the tool axis, feeds, spindle speeds and tools; "
        "exit 0 when they agree within the tolerance, 1 when they do not");
    command->add_option("A", arguments->a, "A program, as a toolpath or posted")->required();
    command->add_option("B", arguments->b, "The program to compare with it")->required();
    addReaderOptions(*command, invocation.options.reader);
    command->add_option("--tolerance")
        ->description("Largest distance in millimetres between the two paths that still agrees (default 0.01)")
        ->type_name("MM")
        ->check(toleranceCheck(arguments->compare.tolerance, NCCompare::MinimumTolerance, "millimetres"));
    command->add_option("--axis-tolerance")
        ->description("Largest angle in degrees between the two tool axes that still agrees (default 0.01)")
        ->type_name("DEG")
        ->check(toleranceCheck(arguments->compare.axisTolerance, NCCompare::MinimumAxisTolerance, "degrees"));
    command->add_option("--ignore")
        ->description("Do not compare these: a comma list of feed, spindle and tools (or the option again)")
        ->type_name("LIST")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->check(CLI::Validator(
            [options = &arguments->compare](std::string& value) -> std::string {
                std::string_view rest = value;
                while (true) {
                    std::string_view const word = rest.substr(0, rest.find(','));
                    if (word == "feed")
                        options->compareFeeds = false;
                    else if (word == "spindle")
                        options->compareSpindle = false;
                    else if (word == "tools")
                        options->compareTools = false;
                    else
                        return "takes a comma list of feed, spindle and tools, not '" + std::string(word) + "'";
                    if (word.size() == rest.size())
                        return {};
                    rest.remove_prefix(word.size() + 1);
                }
            },
            ""));
    command
        ->add_option("--format", arguments->format,
            "text (the default) or json: one JSON object, laid out as the README's diff section says")
        ->check(CLI::IsMember({"text", "json"}));
    command->callback([arguments, &invocation] {
        invocation.run = [arguments, &invocation] { return diff(*arguments, invocation.options); };
    });
}

} // namespace Quarn::Tool
