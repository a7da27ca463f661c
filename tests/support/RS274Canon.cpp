// LinuxCNC's rs274 interpreter as a test oracle: finding and running it, and replaying the
// canonical machine calls it prints into motions.
#include "tests/support/RS274Canon.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace Quarn::TestSupport {

namespace fs = std::filesystem;

std::optional<Call> parseCall(std::string_view line)
{
    std::size_t const open = line.find('('), close = line.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return std::nullopt;
    std::size_t nameStart = line.rfind(' ', open);
    nameStart = nameStart == std::string_view::npos ? 0 : nameStart + 1;
    Call call {std::string(line.substr(nameStart, open - nameStart)), {}, {}};
    std::string_view arguments = line.substr(open + 1, close - open - 1);
    while (!arguments.empty()) {
        std::size_t const end = arguments.find_first_of(", ");
        std::string_view const token = arguments.substr(0, end);
        arguments = end == std::string_view::npos ? std::string_view() : arguments.substr(end + 1);
        if (token.empty())
            continue;
        double number = 0.0;
        auto const [rest, error] = std::from_chars(token.data(), token.data() + token.size(), number);
        if (error == std::errc() && rest == token.data() + token.size())
            call.numbers.push_back(number);
        else
            call.words.emplace_back(token);
    }
    return call;
}

std::vector<Motion> replay(std::string const& output)
{
    std::vector<Motion> motions;
    Vector3D position;
    double feed = 0.0;
    bool inches = false;
    int axis = 2;
    long long selected = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::optional<Call> const call = parseCall(line);
        if (!call)
            continue;
        auto const& n = call->numbers;
        auto const add = [&](Motion::Kind kind) -> Motion& {
            motions.push_back(
                {.kind = kind, .call = line, .inches = inches, .start = position, .end = position, .feed = feed});
            return motions.back();
        };
        std::string const& name = call->name;
        if (name == "USE_LENGTH_UNITS") {
            inches = !call->words.empty() && call->words[0] == "CANON_UNITS_INCHES";
        } else if (name == "SELECT_PLANE" && !call->words.empty()) {
            axis = call->words[0] == "CANON_PLANE_YZ" ? 0 : call->words[0] == "CANON_PLANE_XZ" ? 1 : 2;
        } else if (name == "SET_FEED_RATE" && n.size() == 1) {
            feed = n[0];
        } else if ((name == "STRAIGHT_TRAVERSE" || name == "STRAIGHT_FEED") && n.size() >= 6) {
            Motion& m = add(name == "STRAIGHT_FEED" ? Motion::Feed : Motion::Traverse);
            m.end = {n[0], n[1], n[2]};
            m.abc = {n[3], n[4], n[5]};
            position = m.end;
        } else if (name == "ARC_FEED" && n.size() >= 9) {
            // First end, second end, first centre, second centre, rotation, axis end, a, b, c; the
            // first and second coordinates are X Y (XY), Z X (XZ) and Y Z (YZ).
            Motion& m = add(Motion::Arc);
            m.axis = axis;
            m.rotation = static_cast<int>(n[4]);
            m.abc = {n[6], n[7], n[8]};
            if (axis == 2) {
                m.end = {n[0], n[1], n[5]};
                m.centre = {n[2], n[3], position.z};
            } else if (axis == 1) {
                m.end = {n[1], n[5], n[0]};
                m.centre = {n[3], position.y, n[2]};
            } else {
                m.end = {n[5], n[0], n[1]};
                m.centre = {position.x, n[2], n[3]};
            }
            position = m.end;
        } else if (name == "DWELL" && n.size() == 1) {
            add(Motion::Dwell).time = n[0];
        } else if (name == "SELECT_TOOL" && n.size() == 1) {
            selected = static_cast<long long>(n[0]);
        } else if (name == "CHANGE_TOOL") {
            add(Motion::Tool).tool = selected;
        } else if (name == "RIGID_TAP" && n.size() >= 3) {
            // A rigid tap feeds to its point and back to where it started.
            Vector3D const start = position;
            add(Motion::Feed).end = {n[0], n[1], n[2]};
            position = {n[0], n[1], n[2]};
            add(Motion::Feed).end = start;
            position = start;
        } else if (name == "STRAIGHT_PROBE" || name == "NURBS_FEED"
            || name.starts_with("SPLINE_FEED")) {
            add(Motion::Other);
        }
    }
    return motions;
}

std::optional<fs::path> findInterpreter()
{
    char const* const variable = std::getenv("PATH");
    std::string const path = variable ? variable : "";
    for (std::size_t start = 0; start <= path.size();) {
        std::size_t const end = std::min(path.find(':', start), path.size());
        fs::path const candidate = fs::path(path.substr(start, end - start)) / "rs274";
        if (end > start && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    if (::access("/usr/bin/rs274", X_OK) == 0)
        return fs::path("/usr/bin/rs274");
    return std::nullopt;
}

void writeToolTable(fs::path const& file, std::vector<unsigned int> const& numbers)
{
    std::ofstream table(file);
    int pocket = 1;
    for (unsigned int number : numbers)
        table << "T" << number << " P" << pocket++ << " Z0 D0\n";
}

std::string readWholeFile(fs::path const& file)
{
    std::ifstream in(file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

bool RS274Run::succeeded() const noexcept { return status == 0 && problem().empty(); }

std::string RS274Run::problem() const
{
    std::string result;
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) {
        if (line == "executing" || line.empty())
            continue;
        result += (result.empty() ? "" : " | ") + line;
    }
    return result;
}

namespace {

// The path as one word of the shell, quoted.
std::string quoted(fs::path const& path)
{
    std::string result = "'";
    for (char c : path.string())
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

} // namespace

RS274Run runInterpreter(fs::path const& interpreter, fs::path const& program, fs::path const& tools,
    fs::path const& directory, fs::path const& output, fs::path const& errors, int timeoutSeconds)
{
    std::error_code ignored;
    fs::create_directories(directory, ignored);
    std::string const command = "cd " + quoted(directory) + " && HOME=" + quoted(directory) + " timeout "
        + std::to_string(timeoutSeconds) + " " + quoted(interpreter) + " -t " + quoted(tools) + " -g " + quoted(program)
        + " </dev/null >" + quoted(output) + " 2>" + quoted(errors);
    int const raw = std::system(command.c_str());
    RS274Run run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.canon = readWholeFile(output);
    run.errors = readWholeFile(errors);
    return run;
}

} // namespace Quarn::TestSupport
