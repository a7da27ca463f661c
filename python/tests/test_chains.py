"""quarnnc.run, convert and validate, the library's stages and stages written in Python, checked
against the command-line tool, which builds the same chains on its own."""
import json
import os
import shutil
import subprocess
import xml.etree.ElementTree as ElementTree

import pytest

import quarnnc

# The writable formats by the extension that chooses each; those the tool also reads come first.
READABLE_OUTPUTS = {"nci": "compact-nci", "kts": "kernel", "cld": "cld", "cldt": "cld-text", "ngc": "gcode"}
WRITE_ONLY_OUTPUTS = {"xml": "xml", "jsonl": "jsonl", "log": "log"}

# Examples that the tool's info measures, in both units and several formats.
MEASURED_EXAMPLES = ["part-3axis.nci", "inch-part.nci", "synthetic-mill.nci", "pocket.kts", "swarf-5axis.cld",
                     "bolt-circle.ngc"]


def tool(quarnnc_tool, *arguments, check=True):
    return subprocess.run([str(quarnnc_tool), *map(str, arguments)], capture_output=True, text=True, check=check)


def info(quarnnc_tool, path, *options):
    return json.loads(tool(quarnnc_tool, "info", "--format", "json", *options, path).stdout)


def tool_messages(stderr, output):
    """The sentences the tool printed about an output file."""
    prefix = f"quarnnc: {output}: "
    return [line[len(prefix):] for line in stderr.splitlines() if line.startswith(prefix)]


class Collect(quarnnc.NCStream):
    """Notes the events it sees by handler name, with the ends of the straight moves, and passes
    them on: a sink at the end of a chain, a filter before other stages."""

    def __init__(self):
        super().__init__()
        self.events = []
        self.ends = []

    def on_rapid(self, end, flags):
        self.events.append("on_rapid")
        self.ends.append(end)
        return super().on_rapid(end, flags)

    def on_linear(self, end, feedrate, flags):
        self.events.append("on_linear")
        self.ends.append(end)
        return super().on_linear(end, feedrate, flags)

    def on_close(self):
        self.events.append("on_close")
        return super().on_close()


class ShiftZ(quarnnc.NCStream):
    """A Python filter that raises the straight moves by 1 and passes them on."""

    def on_rapid(self, end, flags):
        return super().on_rapid((end[0], end[1], end[2] + 1), flags)

    def on_linear(self, end, feedrate, flags):
        return super().on_linear((end[0], end[1], end[2] + 1), feedrate, flags)


class DropRapids(quarnnc.NCStream):
    def on_rapid(self, end, flags):
        return True


class StopAtLinear(quarnnc.NCStream):
    """Stops the program at its nth linear move."""

    def __init__(self, n):
        super().__init__()
        self.n = n
        self.seen = 0

    def on_linear(self, end, feedrate, flags):
        self.seen += 1
        if self.seen == self.n:
            return False
        return super().on_linear(end, feedrate, flags)


class Fail(Exception):
    pass


class RaiseAtLinear(quarnnc.NCStream):
    def __init__(self, error):
        super().__init__()
        self.error = error

    def on_linear(self, end, feedrate, flags):
        raise self.error


@pytest.fixture
def straight_program(tmp_path):
    """A G-code program of 1000 straight moves whose ends are known, and those ends."""
    ends = [(0.0, 0.0, 5.0)] + [(i * 0.5, (i % 7) * 1.25, -1.0 - (i % 3)) for i in range(1000)]
    lines = ["G21 G90 G17", "T1 M6", "S1000 M3", "G0 X0 Y0 Z5"]
    lines += [f"G1 X{x:g} Y{y:g} Z{z:g} F500" for x, y, z in ends[1:]]
    path = tmp_path / "straight.ngc"
    path.write_text("\n".join(lines + ["M30", ""]))
    return path, ends


# --- Conversion -----------------------------------------------------------------------------------


@pytest.mark.parametrize("extension", [*READABLE_OUTPUTS, *WRITE_ONLY_OUTPUTS])
def test_convert_writes_what_the_tool_writes_and_says_what_it_left_out(examples_dir, quarnnc_tool, tmp_path,
                                                                        extension):
    source = examples_dir / "part-3axis.nci"
    ours, theirs = tmp_path / f"ours.{extension}", tmp_path / f"theirs.{extension}"
    conversion = quarnnc.convert(source, ours)
    completed = tool(quarnnc_tool, "convert", source, theirs)

    assert ours.read_bytes() == theirs.read_bytes()
    assert conversion.format == {**READABLE_OUTPUTS, **WRITE_ONLY_OUTPUTS}[extension]
    assert conversion.path == str(ours) and conversion.completed
    assert conversion.messages == tool_messages(completed.stderr, theirs)
    assert conversion.lossless == (conversion.messages == [])
    if extension in READABLE_OUTPUTS:
        back = info(quarnnc_tool, ours)
        assert back["format"] == conversion.format
        assert back["total"]["moves"]["total"] == (36 if extension == "ngc" else 37)
        assert sum(quarnnc.count_events(ours).values()) == sum(back["events"].values())
    elif extension == "xml":
        assert ElementTree.parse(ours).getroot() is not None
    elif extension == "jsonl":
        assert all(json.loads(line) for line in ours.read_text().splitlines())
    else:
        assert "LogNCStream::onLinear" in ours.read_text()


def test_lossy_conversion_counts_what_it_left_out(examples_dir, tmp_path):
    conversion = quarnnc.convert(examples_dir / "part-3axis.nci", tmp_path / "out.cld")
    assert conversion.left_out == {"onComment": 1, "onCommand": 12, "onSpindleSpeed": 3, "onStock": 1, "onGroup": 4,
                                   "onGroupEnd": 4, "onDwell": 4}
    assert conversion.values_left_out == {"feed": 21, "flags": 21}
    assert conversion.arcs_as_lines == 0 and not conversion.lossless
    assert "1 stock box" in repr(conversion)

    lossless = quarnnc.convert(examples_dir / "part-3axis.nci", tmp_path / "out.nci")
    assert lossless.lossless and lossless.left_out == {} and lossless.messages == []


def test_writer_options_are_checked_as_the_tool_checks_them(examples_dir, quarnnc_tool, tmp_path):
    source = examples_dir / "bolt-circle.ngc"
    quarnnc.convert(source, tmp_path / "ours.ngc", decimals=4, line_numbers=(100, 5))
    tool(quarnnc_tool, "convert", "--decimals", "4", "--line-numbers=100,5", source, tmp_path / "theirs.ngc")
    assert (tmp_path / "ours.ngc").read_bytes() == (tmp_path / "theirs.ngc").read_bytes()
    assert (tmp_path / "ours.ngc").read_text().splitlines()[1].startswith("N100 ")

    quarnnc.convert(source, tmp_path / "program.out", to="gcode", line_numbers=True)
    assert (tmp_path / "program.out").read_text().splitlines()[1].startswith("N10 ")

    refused = [
        (dict(decimals=3), tmp_path / "x.nci", "decimals is not supported for compact-nci output"),
        (dict(map_to_wcs=True), tmp_path / "x.ngc", "map_to_wcs is not supported for gcode output"),
        (dict(decimals=10), tmp_path / "x.ngc", "decimals must be 0 to 9"),
        (dict(line_numbers=(10, 0)), tmp_path / "x.ngc", "step of 1 or more"),
        (dict(arc_tolerance=0.0), tmp_path / "x.ngc", "arc_tolerance must be a positive"),
        (dict(), tmp_path / "x.unknown", "Cannot tell the output format"),
        (dict(to="pdf"), tmp_path / "x.ngc", "Unknown output format 'pdf'"),
    ]
    for options, output, message in refused:
        with pytest.raises(ValueError, match=message):
            quarnnc.Writer(output, **options)
        assert not output.exists()


def test_converting_a_file_onto_itself_replaces_it_once_complete(examples_dir, tmp_path):
    program = tmp_path / "program.nci"
    shutil.copy(examples_dir / "part-3axis.nci", program)
    original = program.read_bytes()
    events = quarnnc.count_events(program)

    conversion = quarnnc.convert(program, program, transform=quarnnc.Transform(translate=(0, 0, 0)))
    assert conversion.completed
    assert quarnnc.count_events(program) == events
    assert os.listdir(tmp_path) == ["program.nci"]

    # A program that a stage stops leaves its input as it was, and nothing beside it.
    stopped = quarnnc.convert(program, program, transform=[StopAtLinear(3)])
    assert not stopped.completed
    assert program.read_bytes() == original
    assert os.listdir(tmp_path) == ["program.nci"]


@pytest.mark.parametrize("transform, stages", [
    (["--translate", "10,-5,2.5"], lambda: [quarnnc.Transform(translate=(10, -5, 2.5))]),
    (["--rotate", "z,90", "--translate", "1,2,3"], lambda: [quarnnc.Transform(translate=(1, 2, 3), rotate=("z", 90))]),
    (["--axial-offset", "2"], lambda: [quarnnc.Transform(axial_offset=2)]),
    (["--orientation", "0,1,0,0,0,1"], lambda: [quarnnc.Transform(orientation=((0, 1, 0), (0, 0, 1)))]),
    (["--mirror", "yz", "--rotate", "x,30"], lambda: [quarnnc.Mirror("yz"), quarnnc.Transform(rotate=("x", 30))]),
])
def test_transform_stages_write_what_the_transform_command_writes(examples_dir, quarnnc_tool, tmp_path, transform,
                                                                   stages):
    source = examples_dir / "part-3axis.nci"
    quarnnc.convert(source, tmp_path / "ours.ngc", transform=stages())
    tool(quarnnc_tool, "transform", *transform, source, tmp_path / "theirs.ngc")
    assert (tmp_path / "ours.ngc").read_bytes() == (tmp_path / "theirs.ngc").read_bytes()


def test_transform_and_mirror_refuse_bad_values():
    for arguments, message in [
        (dict(rotate=("w", 90)), "axis 'x', 'y' or 'z'"),
        (dict(translate=(0, float("nan"), 0)), "three finite numbers"),
        (dict(orientation=((1, 0, 0), (1, 0, 0))), "two orthogonal axes"),
        (dict(axial_offset=float("inf")), "finite"),
    ]:
        with pytest.raises(ValueError, match=message):
            quarnnc.Transform(**arguments)
    with pytest.raises(ValueError, match="plane must be"):
        quarnnc.Mirror("xyz")


# --- Stages written in Python ---------------------------------------------------------------------


def test_a_python_sink_sees_every_move_in_order(straight_program):
    path, ends = straight_program
    sink = Collect()
    assert quarnnc.run(path, [sink]) is True
    assert sink.ends == ends
    assert sink.events == ["on_rapid"] + ["on_linear"] * 1000 + ["on_close"]


def test_python_filters_change_and_drop_events_for_the_stages_after_them(straight_program, tmp_path):
    path, ends = straight_program
    shifted = Collect()
    assert quarnnc.run(path, [ShiftZ(), quarnnc.Validate(), shifted])
    assert shifted.ends == [(x, y, z + 1) for x, y, z in ends]

    without_rapids = Collect()
    quarnnc.run(path, [DropRapids(), without_rapids])
    assert without_rapids.events.count("on_rapid") == 0
    assert without_rapids.ends == ends[1:]

    # A Python filter in front of a writer: the written program is the shifted one.
    conversion = quarnnc.convert(path, tmp_path / "shifted.nci", transform=[ShiftZ()])
    assert conversion.completed
    written = Collect()
    quarnnc.run(tmp_path / "shifted.nci", [written])
    assert written.ends == shifted.ends


def test_handlers_that_are_not_overridden_pass_every_event_on(examples_dir, tmp_path):
    """A stage that overrides nothing changes nothing: the written program is the same file."""
    for example in ["part-3axis.nci", "swarf-5axis.nci", "pocket.kts"]:
        suffix = os.path.splitext(example)[1]
        quarnnc.convert(examples_dir / example, tmp_path / f"direct{suffix}")
        quarnnc.convert(examples_dir / example, tmp_path / f"through{suffix}", transform=[quarnnc.NCStream()])
        assert (tmp_path / f"direct{suffix}").read_bytes() == (tmp_path / f"through{suffix}").read_bytes()


class PassEverything(quarnnc.NCStream):
    """Overrides every handler and passes each event on through super(): the values must survive
    their way into Python and back."""


def _pass_on(name):
    def handler(self, *arguments):
        self.calls[name] = self.calls.get(name, 0) + 1
        return getattr(super(PassEverything, self), name)(*arguments)

    return handler


HANDLERS = [name for name in dir(quarnnc.NCStream) if name.startswith("on_")]
for _name in HANDLERS:
    setattr(PassEverything, _name, _pass_on(_name))


def test_events_passed_through_python_handlers_arrive_unchanged(examples_dir, tmp_path):
    for example in ["part-3axis.nci", "swarf-5axis.nci", "inch-part.nci", "synthetic-mill.nci", "bolt-circle.ngc"]:
        stage = PassEverything()
        stage.calls = {}
        quarnnc.convert(examples_dir / example, tmp_path / "direct.nci")
        quarnnc.convert(examples_dir / example, tmp_path / "through.nci", transform=[stage])
        assert (tmp_path / "direct.nci").read_bytes() == (tmp_path / "through.nci").read_bytes(), example
        assert stage.calls["on_open"] == 1 and stage.calls["on_close"] == 1


def test_event_values_reach_python_as_documented(examples_dir):
    class Values(quarnnc.NCStream):
        def __init__(self):
            super().__init__()
            self.seen = {}

        def note(self, name, *values):
            self.seen.setdefault(name, values)

        def on_context(self, context):
            self.note("context", context)

        def on_tool(self, tool):
            self.note("tool", tool)

        def on_comment(self, text):
            self.note("comment", text)

        def on_parameter(self, name, value):
            self.note("parameter", name, value)

        def on_linear_5d(self, end, direction, feedrate, flags):
            self.note("linear_5d", end, direction, feedrate, flags)

    values = Values()
    quarnnc.run(examples_dir / "swarf-5axis.nci", [values])
    assert isinstance(values.seen["context"][0], quarnnc.Context)
    assert isinstance(values.seen["tool"][0], quarnnc.Tool)
    assert isinstance(values.seen["comment"][0], (str, bytes))
    name, value = values.seen["parameter"]
    assert isinstance(name, str) and name.startswith("http://")
    end, direction, feedrate, flags = values.seen["linear_5d"]
    assert len(end) == 3 and all(isinstance(v, float) for v in end + direction)
    assert isinstance(feedrate, float) and isinstance(flags, int)


def test_a_stage_that_returns_false_stops_the_program(straight_program):
    path, _ = straight_program
    stop, after = StopAtLinear(3), Collect()
    assert quarnnc.run(path, [stop, after]) is False
    assert after.events == ["on_rapid", "on_linear", "on_linear"]
    assert stop.seen == 3

    # Through the library's stages on either side, and at the end of a chain.
    before = Collect()
    assert quarnnc.run(path, [quarnnc.Validate(), before, StopAtLinear(10), quarnnc.BoundingBox()]) is False
    assert before.events == ["on_rapid"] + ["on_linear"] * 10
    assert quarnnc.run(path, [StopAtLinear(1)]) is False


def test_an_exception_in_a_python_stage_reaches_the_caller_unchanged(straight_program, examples_dir, tmp_path):
    path, _ = straight_program
    for stages in (lambda stage: [stage], lambda stage: [quarnnc.Validate(), stage, quarnnc.Writer(tmp_path / "o.ngc")]):
        error = Fail("from on_linear")
        stage = RaiseAtLinear(error)
        with pytest.raises(Fail) as raised:
            quarnnc.run(path, stages(stage))
        assert raised.value is error
        assert raised.traceback[-1].name == "on_linear"
        # The stage is free again for another run.
        stage.error = KeyError("again")
        with pytest.raises(KeyError):
            quarnnc.run(path, [stage])

    # No reader swallows it.
    class RaiseAtSection(quarnnc.NCStream):
        def on_section(self):
            raise error

    for example in ["part-3axis.nci", "pocket.kts", "swarf-5axis.cld", "pocket.cldt", "synthetic-mill.nci",
                    "bolt-circle.ngc"]:
        with pytest.raises(Fail) as raised:
            quarnnc.convert(examples_dir / example, tmp_path / "o.nci", transform=[RaiseAtSection()])
        assert raised.value is error, example


def test_a_stage_subclass_must_initialise_its_base():
    class Forgetful(quarnnc.NCStream):
        def __init__(self):
            pass

    with pytest.raises(TypeError):
        Forgetful()


# --- Chains and their errors ----------------------------------------------------------------------


def test_malformed_missing_and_foreign_inputs_raise(examples_dir, tmp_path):
    cut = tmp_path / "cut.nci"
    cut.write_bytes((examples_dir / "part-3axis.nci").read_bytes()[:1000])
    foreign = tmp_path / "notes.txt"
    foreign.write_text("Shopping list: milk, eggs, bread.\n")
    for call in (lambda p: quarnnc.run(p, [Collect()]), lambda p: quarnnc.convert(p, tmp_path / "out.ngc"),
                 lambda p: quarnnc.validate(p)):
        with pytest.raises(quarnnc.FormatError) as raised:
            call(cut)
        assert raised.value.file == str(cut) and raised.value.offset is not None
        with pytest.raises(quarnnc.FormatError, match="Not an NC program"):
            call(foreign)
        with pytest.raises(FileNotFoundError):
            call(tmp_path / "missing.nci")


def test_chains_are_checked_before_anything_is_read(examples_dir, tmp_path):
    source = examples_dir / "part-3axis.nci"
    box = quarnnc.BoundingBox()
    with pytest.raises(ValueError, match="appears twice"):
        quarnnc.run(source, [box, box])
    with pytest.raises(ValueError, match="Writer ends the chain"):
        quarnnc.run(source, [quarnnc.Writer(tmp_path / "o.ngc"), quarnnc.Analyze()])
    with pytest.raises(TypeError, match="a stage is"):
        quarnnc.run(source, [object()])
    with pytest.raises(ValueError, match="nci_unit"):
        quarnnc.run(source, [], nci_unit="furlong")
    assert not (tmp_path / "o.ngc").exists()
    assert quarnnc.run(source, []) is True


def test_stages_start_afresh_and_refuse_results_during_their_run(examples_dir):
    box = quarnnc.BoundingBox()
    assert box.total is None and box.sections == []
    quarnnc.run(examples_dir / "part-3axis.nci", [box])
    quarnnc.run(examples_dir / "pocket.kts", [box])
    alone = quarnnc.BoundingBox()
    quarnnc.run(examples_dir / "pocket.kts", [alone])
    assert box.sections == alone.sections and box.total == alone.total

    class PeekDuringRun(quarnnc.NCStream):
        def on_close(self):
            box.total

    with pytest.raises(RuntimeError, match="in use by a run"):
        quarnnc.run(examples_dir / "part-3axis.nci", [box, PeekDuringRun()])
    with pytest.raises(RuntimeError, match="in use by another run"):
        class RunAgain(quarnnc.NCStream):
            def on_close(self):
                quarnnc.run(examples_dir / "part-3axis.nci", [box])

        quarnnc.run(examples_dir / "part-3axis.nci", [box, RunAgain()])
    quarnnc.run(examples_dir / "part-3axis.nci", [box])
    assert box.total is not None


# --- Measuring stages against quarnnc info and ranges ----------------------------------------------


def _range(value):
    return None if value is None else tuple(value)


def _box(box):
    return None if box is None else {"lower": list(box.lower), "upper": list(box.upper)}


def _assert_figures(figures, expected, box):
    moves = dict(expected["moves"])
    assert figures.moves == moves.pop("total")
    assert figures.counts == {{"rapid5D": "rapid_5d", "linear5D": "linear_5d"}.get(k, k): v for k, v in moves.items()}
    assert (figures.dwells, figures.tool_changes, figures.untimed) == (
        expected["dwells"], expected["toolChanges"], expected["untimed"])
    assert (figures.rapid_length, figures.cutting_length) == (expected["rapidLength"], expected["cuttingLength"])
    seconds = expected["seconds"]
    assert (figures.rapid_seconds, figures.feed_seconds, figures.dwell_seconds, figures.tool_change_seconds,
            figures.seconds) == (seconds["rapid"], seconds["feed"], seconds["dwell"], seconds["toolChange"],
                                 seconds["total"])
    assert figures.feed_range == _range(expected["feedRange"])
    assert figures.spindle_range == _range(expected["spindleRange"])
    assert figures.axis_ranges == {name: tuple(r) for name, r in expected["axisRanges"].items()}
    assert _box(box) == expected["boundingBox"]


@pytest.mark.parametrize("example", MEASURED_EXAMPLES)
@pytest.mark.parametrize("options", [(), ("--rapid-rate", "2500", "--tool-change-time", "7.5")])
def test_bounding_box_and_analyze_equal_what_info_prints(examples_dir, quarnnc_tool, example, options):
    path = examples_dir / example
    expected = info(quarnnc_tool, path, *options)
    rate = float(options[1]) if options else 10000.0
    change = float(options[3]) if options else 0.0
    analyze, box = quarnnc.Analyze(rapid_rate=rate, tool_change_time=change), quarnnc.BoundingBox()
    assert quarnnc.run(path, [analyze, box])

    assert analyze.rapid_rate == tuple(expected["rapidRate"]) and analyze.tool_change_time == change
    assert {"mm": "millimeters", "inch": "inches"}[box.unit] == expected["unit"]
    assert analyze.unit == box.unit
    _assert_figures(analyze.total, expected["total"], box.total)
    tools = sorted(analyze.tools.items())
    assert [number for number, _ in tools] == [entry["number"] for entry in expected["tools"]]
    for (number, figures), entry in zip(tools, expected["tools"]):
        assert figures.tool == number
        _assert_figures(figures, entry, box.tools.get(number))
    assert len(analyze.sections) == len(expected["sections"]) == len(box.sections)
    for figures, section_box, entry in zip(analyze.sections, box.sections, expected["sections"]):
        assert figures.tool == entry["tool"]
        _assert_figures(figures, entry, section_box)


def test_analyze_shows_lengths_in_the_unit_asked_for(examples_dir):
    shown, in_mm = quarnnc.Analyze(), quarnnc.Analyze(unit="mm")
    quarnnc.run(examples_dir / "inch-part.nci", [shown, in_mm])
    assert shown.unit == "inch" and in_mm.unit == "mm"
    assert in_mm.total.cutting_length == pytest.approx(shown.total.cutting_length * 25.4)
    with pytest.raises(ValueError, match="rapid_rate"):
        quarnnc.Analyze(rapid_rate=(1, 0, 1))
    with pytest.raises(ValueError, match="unit must be"):
        quarnnc.Analyze(unit="furlong")


class AxisValuesFromLines(quarnnc.NCStream):
    """Makes a program whose five-axis moves carry A, B and C values: each line becomes a five-axis
    move; contexts are dropped so that the directions count as axis values."""

    def __init__(self):
        super().__init__()
        self.count = 0

    def on_context(self, context):
        return True

    def on_linear(self, end, feedrate, flags):
        self.count += 1
        abc = (self.count * 1.5, -self.count * 0.25, (self.count * 37) % 360)
        return super().on_linear_5d(end, abc, feedrate, flags & ~quarnnc.NCStream.FLAG_ABSOLUTE_DIRECTION)


def test_abc_ranges_equal_what_ranges_prints(examples_dir, quarnnc_tool, tmp_path):
    program = tmp_path / "abc.nci"
    quarnnc.convert(examples_dir / "part-3axis.nci", program, transform=[AxisValuesFromLines()])
    ranges = quarnnc.ABCRanges()
    assert quarnnc.run(program, [ranges])

    printed = tool(quarnnc_tool, "ranges", program).stdout.splitlines()
    assert len(ranges.sections) == len(printed) - 1 == 3
    for abc, line in zip(ranges.sections + [ranges.total], printed):
        assert line.split("  A ")[1] == "[{}, {}]  B [{}, {}]  C [{}, {}]".format(
            *(f"{v:g}" for r in (abc.a, abc.b, abc.c) for v in r))
    # The straight three-axis moves count as A, B and C of 0; the 17 lines as the values made.
    assert (ranges.total.a, ranges.total.b) == ((0.0, 17 * 1.5), (-17 * 0.25, 0.0))
    assert ranges.total.c == (0.0, max(k * 37 % 360 for k in range(1, 18)))

    with pytest.raises(quarnnc.FormatError, match="carry tool axes"):
        quarnnc.run(examples_dir / "swarf-5axis.nci", [quarnnc.ABCRanges()])


# --- Validation ------------------------------------------------------------------------------------


class Faults(quarnnc.NCStream):
    """Adds known faults to a program: a negative dwell (an error) before the second line and a
    negative feedrate (a warning) on the fourth."""

    def __init__(self):
        super().__init__()
        self.lines = 0

    def on_linear(self, end, feedrate, flags):
        self.lines += 1
        if self.lines == 2 and not super().on_dwell(-1.0, 0):
            return False
        return super().on_linear(end, -5.0 if self.lines == 4 else feedrate, flags)


@pytest.mark.parametrize("continue_on_error", [False, True])
def test_validate_finds_what_the_validate_command_prints(examples_dir, quarnnc_tool, tmp_path, continue_on_error):
    program = tmp_path / "faulty.nci"
    quarnnc.convert(examples_dir / "part-3axis.nci", program, transform=[Faults()])
    options = ["--continue-on-error"] if continue_on_error else []
    printed = tool(quarnnc_tool, "validate", "--format", "json", *options, program, check=False).stdout.splitlines()
    expected = [json.loads(line) for line in printed[:-1]]

    findings = quarnnc.validate(program, continue_on_error=continue_on_error)
    assert [(f.severity, f.index, f.text) for f in findings] == [
        (e["severity"], e["index"], e["message"]) for e in expected]
    assert findings[0].severity == "error" and findings[0].text == "Negative dwelling time '-1'."
    assert any(f.text == "Invalid feedrate '-5'." for f in findings) == continue_on_error
    assert repr(findings[0]) == f"Finding('error', {findings[0].index}, \"Negative dwelling time '-1'.\")"

    # As a stage, the first error stops the program unless told to go on.
    validator = quarnnc.Validate(continue_on_error=continue_on_error)
    assert quarnnc.run(program, [validator]) == continue_on_error
    assert validator.findings == findings
    assert (validator.errors, validator.warnings) == (1, len(findings) - 1)


def test_validate_of_a_clean_program_is_empty_and_warnings_keep_their_index(examples_dir, quarnnc_tool):
    assert quarnnc.validate(examples_dir / "part-3axis.nci") == []
    findings = quarnnc.validate(examples_dir / "bolt-circle.ngc")
    assert [str(f) for f in findings] == ["2: warning: Tool is undefined.", "39: warning: Tool is undefined."]
    with pytest.raises(ValueError, match="tolerance"):
        quarnnc.validate(examples_dir / "part-3axis.nci", tolerance=0)


# --- Values made in Python, written and read back ---------------------------------------------------

NS = "http://www.quarn.dev/namespace/nc/parameter/"
# Events a Python stage sends after the first rapid of a program, as (handler, arguments).
MADE = [
    ("on_comment", ("wide text \u00e9\u20ac",)),
    ("on_comment", (b"narrow \xff bytes",)),
    ("on_pass_through", (b"M100 P1",)),
    ("on_parameter", (NS + "count", 42)),
    ("on_parameter", (NS + "depth", -2.5)),
    ("on_parameter", (NS + "label", "wide")),
    ("on_parameter", (NS + "code", b"narrow")),
    ("on_parameter", (NS + "point", (1.0, 2.0, 3.0))),
    ("on_coolant", (2, 3)),
    ("on_spindle_speed", (1234.5,)),
    ("on_dwell", (1.5, quarnnc.NCStream.FLAG_DWELL_REVOLUTIONS)),
    ("on_machine_axis_ordering", ([("X", "head"), ("C", "")],)),
    ("on_machine_axis_values", ((10.0, 90.0),)),
    ("on_circular", ((0.0, 0.0, 0.0), (5.0, 0.0, -1.0), (0.0, 0.0, 1.0), -3.0, 200.0, 0)),
    ("on_ccw_circle", ((0.0, 0.0, 0.0), (5.0, 0.0, -1.0), (0.0, 0.0, 1.0), 150.0, 0)),
    ("on_bezier", ((6.0, 1.0, -1.0), (7.0, 2.0, -1.0), (8.0, 0.0, -1.0), 100.0, 0)),
    ("on_nurbs", ([(8.0, 0.0, -1.0), (9.0, 1.0, -1.0), (10.0, 0.0, -1.0)], [0.0, 0.0, 0.0, 1.0, 1.0, 1.0], 90.0, 0)),
    ("on_linear_5d", ((10.0, 0.0, -1.0), (0.0, -1.0, 0.0), 80.0, quarnnc.NCStream.FLAG_ABSOLUTE_DIRECTION)),
    ("on_frame", ("rotary", "", (1.0, 2.0, 3.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0))),
    ("on_toolpath_entity_index", (3, 2 ** 40)),
]
# What compact NCI has no place for.
NOT_IN_COMPACT_NCI = {"on_bezier": "onBezier", "on_nurbs": "onNURBS", "on_toolpath_entity_index": "onToolpathEntityIndex"}


class Make(quarnnc.NCStream):
    def __init__(self):
        super().__init__()
        self.made = False

    def on_rapid(self, end, flags):
        if not super().on_rapid(end, flags):
            return False
        if not self.made:
            self.made = True
            for name, arguments in MADE:
                if getattr(super(), name)(*arguments) is False:
                    return False
        return True


class Record(quarnnc.NCStream):
    def __init__(self):
        super().__init__()
        self.calls = []


for _name in {name for name, _ in MADE}:
    setattr(Record, _name, lambda self, *arguments, _name=_name: self.calls.append((_name, arguments)))


def _made(record):
    calls = [call for call in record.calls if call[0] != "on_spindle_speed" or call[1] == (1234.5,)]
    first = calls.index(MADE[0])
    return calls[first:first + len(MADE)]


def test_values_made_in_python_reach_python_and_a_file_unchanged(examples_dir, tmp_path):
    source = examples_dir / "part-3axis.ngc"
    record = Record()
    quarnnc.run(source, [Make(), record])
    assert _made(record) == MADE

    program = tmp_path / "made.nci"
    conversion = quarnnc.convert(source, program, transform=[Make()])
    plain = quarnnc.convert(source, tmp_path / "plain.nci")
    assert set(conversion.left_out) - set(plain.left_out) == set(NOT_IN_COMPACT_NCI.values())
    record = Record()
    quarnnc.run(program, [record])
    kept = [call for call in MADE if call[0] not in NOT_IN_COMPACT_NCI]
    assert _made(record)[:len(kept)] == kept


def test_values_that_cannot_be_passed_on_are_refused():
    stage = quarnnc.NCStream()
    for call, error in [
        (lambda: stage.on_parameter("n", 2 ** 40), ValueError),
        (lambda: stage.on_parameter("n", object()), TypeError),
        (lambda: stage.on_comment("a\0b"), ValueError),
        (lambda: stage.on_group(b"uri\0"), ValueError),
        (lambda: stage.on_comment(3), TypeError),
        (lambda: stage.on_coolant(1, 7), ValueError),
        (lambda: stage.on_radius_compensation(3), ValueError),
        (lambda: stage.on_linear((1.0, 2.0), 100.0, 0), TypeError),
    ]:
        with pytest.raises(error):
            call()
    # Outside a run a stage is a sink of its own: passing on answers True.
    assert stage.on_linear((1.0, 2.0, 3.0), 100.0, 0) is True
    assert quarnnc.NCStream.movement(quarnnc.NCStream.FLAG_START_CUTTING | (2 << 16)) == 2
    assert quarnnc.NCStream.command_name(1) == "STOP"
