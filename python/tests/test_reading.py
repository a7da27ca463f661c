"""quarnnc.read, iter_moves and count_events against independent paths: the tool's XML output and log."""
import gc
import os
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

import numpy as np
import pytest

import quarnnc

K = quarnnc.MoveKind

# Every example the tool reads, with its format name.
EXAMPLES = {
    "part-3axis.nci": "compact-nci",
    "swarf-5axis.nci": "compact-nci",
    "inch-part.nci": "compact-nci",
    "pocket.kts": "kernel",
    "swarf-5axis.cld": "cld",
    "pocket.cldt": "cld-text",
    "synthetic-mill.nci": "mastercam-nci",
    "part-3axis.ngc": "gcode",
    "bolt-circle.ngc": "gcode",
}

# The names count_events and the log give the events of each kind of move.
EVENT_OF_KIND = {
    K.RAPID: "onRapid", K.LINEAR: "onLinear", K.CW_ARC: "onCWArc", K.CCW_ARC: "onCCWArc",
    K.CIRCULAR: "onCircular", K.CW_CIRCLE: "onCWCircle", K.CCW_CIRCLE: "onCCWCircle",
    K.RAPID_5D: "onRapid5D", K.LINEAR_5D: "onLinear5D", K.SPLINE: "onSpline", K.BEZIER: "onBezier",
    K.NURBS: "onNURBS", K.LINEAR_EXTRUDE: "onLinearExtrude", K.CW_ARC_EXTRUDE: "onCWArcExtrude",
    K.CCW_ARC_EXTRUDE: "onCCWArcExtrude", K.CIRCULAR_EXTRUDE: "onCircularExtrude",
}
KIND_OF_EVENT = {name: kind for kind, name in EVENT_OF_KIND.items()}

FIELDS = ("kind", "end", "direction", "center", "normal", "sweep", "feed", "flags", "movement", "section", "tool",
          "event")


def assert_moves_equal(actual, expected):
    assert actual.dtype.names == quarnnc.MOVE_DTYPE.names
    assert len(actual) == len(expected)
    for field in FIELDS:
        assert np.array_equal(actual[field], expected[field], equal_nan=actual[field].dtype.kind == "f"), field


def task_count():
    """The threads of this process, native ones included (threading only sees Python's)."""
    return len(os.listdir("/proc/self/task"))


# --- The oracles: the tool's XML output (every move, six significant digits) and its log (the moves
# it prints, with their flags, at full precision).

def xml_moves(tool, path, tmp_path):
    """(kind, end, center, normal, direction, feed, sweep) per move of `quarnnc convert path out.xml`."""
    out = tmp_path / (path.name + ".xml")
    subprocess.run([str(tool), "-q", "convert", str(path), str(out)], check=True, capture_output=True)
    root = ElementTree.parse(out).getroot()
    ns = "{http://schema.quarn.dev/xml/2008/nc}"
    vector = lambda element, name: [float(v) for v in element.get(name).split()] if element.get(name) else None
    number = lambda element, name: float(element.get(name)) if element.get(name) else None
    names = {"rapid": K.RAPID, "linear": K.LINEAR, "arc-cw": K.CW_ARC, "arc-ccw": K.CCW_ARC,
             "circular": K.CIRCULAR, "rapid5d": K.RAPID_5D, "linear5d": K.LINEAR_5D}
    moves = []
    for element in root.iter():
        tag = element.tag.removeprefix(ns)
        if tag not in names:
            continue
        kind = names[tag]
        if element.get("circle") == "yes":
            kind = {K.CW_ARC: K.CW_CIRCLE, K.CCW_ARC: K.CCW_CIRCLE}[kind]
        moves.append((kind, vector(element, "to"), vector(element, "center"), vector(element, "normal"),
                      vector(element, "direction"), number(element, "feed"), number(element, "sweep")))
    contexts = [element for element in root.iter(ns + "context")]
    tools = [element for element in root.iter(ns + "tool")]
    return moves, contexts, tools


LOG_LINE = re.compile(r"^LogNCStream::(on\w+)\(\): (.*)$")
LOG_VALUE = re.compile(r"(\w+):(\([^)]*\)|\S+)")


def log_moves(tool, path):
    """(kind, {field: value}) per move line of `quarnnc log path`."""
    result = subprocess.run([str(tool), "-q", "log", str(path)], check=True, capture_output=True, text=True)
    moves = []
    for line in result.stdout.splitlines():
        match = LOG_LINE.match(line)
        if not match or match.group(1) not in KIND_OF_EVENT:
            continue
        values = {}
        for key, text in LOG_VALUE.findall(match.group(2)):
            values[key] = [float(v) for v in text.strip("()").split(",")] if text.startswith("(") else float(text)
        kind = KIND_OF_EVENT[match.group(1)]
        # LogNCStream labels onCircular "onCWArc" and tells it by its sweep.
        if kind == K.CW_ARC and "sweep" in values:
            kind = K.CIRCULAR
        moves.append((kind, values))
    return moves


@pytest.mark.parametrize("name", sorted(EXAMPLES))
def test_examples_read_as_the_tool_reads_them(name, examples_dir, quarnnc_tool, tmp_path):
    path = examples_dir / name
    program = quarnnc.read(path)
    moves = program.moves
    assert program.format == EXAMPLES[name]
    assert program.path == str(path)
    assert len(program) == len(moves) > 0

    expected, xml_contexts, xml_tools = xml_moves(quarnnc_tool, path, tmp_path)
    assert [int(k) for k in moves["kind"]] == [int(e[0]) for e in expected]
    close = lambda actual, wanted: np.allclose(actual, wanted, rtol=1e-5, atol=1e-9)
    for index, (kind, end, center, normal, direction, feed, sweep) in enumerate(expected):
        move = moves[index]
        assert close(move["end"], end), index
        if center is not None:
            assert close(move["center"], center) and close(move["normal"], normal), index
        else:
            assert np.isnan(move["center"]).all() and np.isnan(move["normal"]).all(), index
        if direction is not None:
            assert close(move["direction"], direction), index
        else:
            assert np.isnan(move["direction"]).all(), index
        if kind in (K.RAPID, K.RAPID_5D):
            assert np.isnan(move["feed"]), index
        elif feed is not None:
            assert close(move["feed"], feed), index
        if kind == K.CIRCULAR:
            assert close(move["sweep"], sweep), index
        else:
            assert np.isnan(move["sweep"]), index

    # The log prints the moves it knows at full precision, with their flags.
    logged = log_moves(quarnnc_tool, path)
    shown = moves[np.isin(moves["kind"], [int(kind) for kind, _ in logged])]
    assert [int(k) for k in shown["kind"]] == [int(kind) for kind, _ in logged]
    for move, (kind, values) in zip(shown, logged):
        assert list(move["end"]) == values["end"]
        assert move["flags"] == values["flags"]
        if "feedrate" in values:
            assert move["feed"] == values["feedrate"]
        if "sweep" in values:
            assert move["sweep"] == values["sweep"]
        for field in ("center", "normal", "direction"):
            if field in values:
                assert list(move[field]) == values[field]

    # Contexts and tools as the XML writer describes them.
    assert len(program.contexts) == len(xml_contexts)
    for context, element in zip(program.contexts, xml_contexts):
        assert context.unit == {"inches": "inch", "millimeters": "mm"}[element.get("unit")]
        assert close(context.origin, [float(v) for v in element.get("origin").split()])
        assert close(np.array(context.plane).T.ravel(), [float(v) for v in element.get("plane").split()]) or \
            close(np.array(context.plane).ravel(), [float(v) for v in element.get("plane").split()])
    assert len(program.tools) == len(xml_tools)
    for tool, element in zip(program.tools, xml_tools):
        assert tool.number == int(element.get("number"))
        assert tool.type == element.get("type")
        if element.get("diameter"):
            assert close(tool.diameter, float(element.get("diameter")))


@pytest.mark.parametrize("name", sorted(EXAMPLES))
def test_counts_structure_and_batches_agree(name, examples_dir):
    path = examples_dir / name
    program = quarnnc.read(path)
    moves = program.moves
    counts = quarnnc.count_events(path)

    # Counts by kind equal count_events.
    for kind, event in EVENT_OF_KIND.items():
        assert np.count_nonzero(moves["kind"] == kind) == counts.get(event, 0), event
    assert len(program.contexts) == counts.get("onContext", 0)
    assert len(program.tools) == counts.get("onTool", 0)
    assert len(program.sections) == counts.get("onSection", 0)
    assert len(program.comments) == counts.get("onComment", 0)
    assert len(program.parameters) == counts.get("onParameter", 0)
    assert len(program.dwells) == counts.get("onDwell", 0)

    # Event indices grow, and never reach the number of events validate counts.
    uncounted = {"passThrough", "onComment", "onToolpathEntityIndex", "onStock", "onTurnGroup", "onTurnGroupEnd",
                 "onMachineAxisOrdering", "onMachineAxisValues", "onFrame"}
    counted = sum(n for event, n in counts.items() if event not in uncounted)
    assert (np.diff(moves["event"].astype(np.int64)) > 0).all()
    assert moves["event"][-1] < counted

    # Sections: their moves carry their index and tool; moves outside carry -1.
    inside = np.zeros(len(moves), bool)
    for section in program.sections:
        part = moves[section.start:section.stop]
        assert len(section) == len(part)
        assert (part["section"] == section.index).all()
        assert section.event < (part["event"][0] if len(part) else counted)
        if section.tool is not None:
            assert (part["tool"] == section.tool.number).all()
        inside[section.start:section.stop] = True
    assert (moves["section"][~inside] == -1).all()
    assert (moves["movement"] == [quarnnc_movement(flags) for flags in moves["flags"]]).all()

    for batch in (1, 7, 65536):
        batches = list(quarnnc.iter_moves(path, batch))
        assert all(len(b) == batch for b in batches[:-1]) and 0 < len(batches[-1]) <= batch
        assert_moves_equal(np.concatenate(batches), moves)


def quarnnc_movement(flags):
    """NCStream::getMovement, independently: bits 16-19 and bit 2 as the fifth bit."""
    return ((int(flags) & 0xF0000) >> 16) | ((int(flags) & 0x4) << 2)


def test_values_of_a_known_program(examples_dir):
    program = quarnnc.read(examples_dir / "part-3axis.nci")
    assert program.version == "2.4.0"
    assert [tool.number for tool in program.tools] == [1, 2, 3]
    assert program.contexts[0].unit == "mm" and program.contexts[0].feed_mode == "per-minute"
    assert program.comments[0] == (1, "100 x 60 x 30 aluminium block, origin at the top front left corner")
    assert program.parameters[0][1:] == ("http://www.quarn.dev/namespace/nc/parameter/operation", "facing")
    assert repr(program).startswith("quarnnc.Program(") and "moves=37" in repr(program)
    first = program.moves[0]
    assert first["kind"] == K.RAPID and first["tool"] == 1 and first["section"] == 0
    assert quarnnc.movement_name(0) is not None and quarnnc.movement_name(10**6) is None
    inch = quarnnc.read(examples_dir / "inch-part.nci")
    assert inch.contexts[0].unit == "inch"
    # Mastercam NCI files do not say their unit: nci_unit does.
    assert quarnnc.read(examples_dir / "synthetic-mill.nci").contexts[0].unit == "inch"
    assert quarnnc.read(examples_dir / "synthetic-mill.nci", nci_unit="mm").contexts[0].unit == "mm"
    with pytest.raises(ValueError):
        quarnnc.read(examples_dir / "inch-part.nci", nci_unit="cm")


def test_iterating_keeps_memory_flat(generate):
    # Three million moves need 400 MB as one array; iterating must stay far below.
    path = generate(3_000_000)
    code = f"""
import quarnnc
def peak():
    for line in open("/proc/self/status"):
        if line.startswith("VmHWM:"):
            return int(line.split()[1]) * 1024
before = peak()
n = 0
for batch in quarnnc.iter_moves({str(path)!r}):
    n += len(batch)
print(n, peak() - before)
"""
    result = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True, timeout=120)
    moves, growth = map(int, result.stdout.split())
    assert moves == 3_000_000
    assert growth < 60 * 2**20, growth  # about 3 batches of 8.9 MB in flight, not 408 MB


def test_missing_and_foreign_files(tmp_path, examples_dir):
    missing = tmp_path / "missing.nci"
    for call in (quarnnc.read, quarnnc.iter_moves, quarnnc.count_events):
        with pytest.raises(FileNotFoundError) as caught:
            call(missing)
        assert caught.value.filename == str(missing)
    png = tmp_path / "picture.png"
    png.write_bytes(b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 4)
    text = tmp_path / "notes.txt"
    text.write_text("Dear diary, nothing about machining here.\n" * 20)
    for path in (png, text):
        with pytest.raises(quarnnc.FormatError) as caught:
            quarnnc.read(path)
        assert caught.value.file == str(path)
        with pytest.raises(quarnnc.FormatError):
            quarnnc.iter_moves(path)
    with pytest.raises(ValueError):
        quarnnc.iter_moves(examples_dir / "part-3axis.nci", 0)


def test_cut_and_malformed_files(tmp_path, examples_dir):
    # A compact NCI program cut in the middle of a record: a byte offset.
    data = (examples_dir / "part-3axis.nci").read_bytes()
    cut = tmp_path / "cut.nci"
    cut.write_bytes(data[:3000])
    with pytest.raises(quarnnc.FormatError) as caught:
        quarnnc.read(cut)
    error = caught.value
    assert error.file == str(cut) and error.offset is not None and error.line is None
    assert str(error).startswith(f"{cut}:{error.offset}: ")
    assert isinstance(error, quarnnc.Error) and isinstance(error, ValueError)

    # A G-code program whose sixth line has a malformed number: its line.
    lines = (examples_dir / "part-3axis.ngc").read_text().splitlines(keepends=True)
    bad = tmp_path / "bad.ngc"
    bad.write_text("".join(lines[:5]) + "G1 X1..5 Y2\n" + "".join(lines[5:]))
    with pytest.raises(quarnnc.FormatError) as caught:
        quarnnc.read(bad)
    assert caught.value.line == 6 and caught.value.offset is None and caught.value.file == str(bad)


def test_a_batch_too_large_for_memory_is_a_memory_error(examples_dir):
    for batch in (2**64 // 136 + 1, 2**63 - 1):
        with pytest.raises(MemoryError):
            next(quarnnc.iter_moves(examples_dir / "part-3axis.nci", batch))


def test_iter_moves_raises_after_the_good_batches(tmp_path, generate):
    path = generate(200_000)
    whole = quarnnc.read(path).moves
    data = path.read_bytes()
    cut = tmp_path / "cut.nci"
    cut.write_bytes(data[: len(data) * 3 // 4])
    received = []
    with pytest.raises(quarnnc.FormatError) as caught:
        for batch in quarnnc.iter_moves(cut, 1000):
            received.append(batch)
    assert caught.value.offset is not None and caught.value.file == str(cut)
    got = np.concatenate(received)
    assert len(whole) // 2 < len(got) < len(whole)
    assert_moves_equal(got, whole[: len(got)])


def test_dropped_iterators_stop_their_readers(generate):
    path = generate(2_000_000)
    before = task_count()
    for batch in (1, 65536):
        iterator = quarnnc.iter_moves(path, batch)
        assert len(next(iterator)) == batch
        assert task_count() > before  # the reader (and its file's read-ahead)
        del iterator
        gc.collect()
        assert task_count() == before
    untouched = quarnnc.iter_moves(path)
    del untouched
    assert task_count() == before
    with quarnnc.iter_moves(path, 10) as iterator:
        next(iterator)
    assert iterator.closed and task_count() == before
    with pytest.raises(StopIteration):
        next(iterator)
    iterator = quarnnc.iter_moves(path, 10)
    next(iterator)
    iterator.close()
    iterator.close()
    assert iterator.closed and task_count() == before


def test_a_live_iterator_does_not_hold_up_interpreter_exit(generate):
    path = generate(2_000_000)
    code = f"""
import quarnnc
kept = quarnnc.iter_moves({str(path)!r}, 1)
next(kept)
print("done")
"""
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60)
    assert result.returncode == 0, result.stderr
    assert result.stdout == "done\n"


def test_documentation():
    for function in (quarnnc.read, quarnnc.iter_moves, quarnnc.count_events):
        assert "nci_unit" in function.__doc__ and len(function.__doc__) > 300
    for cls in (quarnnc.Program, quarnnc.Section, quarnnc.MoveIterator, quarnnc.Context, quarnnc.Tool):
        assert cls.__doc__
        for name, member in vars(cls).items():
            if isinstance(member, property):
                assert member.__doc__, f"{cls.__name__}.{name}"
    assert repr(quarnnc.Context()).startswith("quarnnc.Context(type='milling', unit='mm'")
    assert repr(quarnnc.Tool()).startswith("quarnnc.Tool(number=0")
