"""quarnnc.diff checked against `quarnnc diff --format json`, which compares the same files on its own."""
import json
import subprocess

import pytest

import quarnnc


def tool_diff(quarnnc_tool, a, b, *options):
    """The tool's JSON without the files and options, which the Comparison does not repeat."""
    completed = subprocess.run([str(quarnnc_tool), "diff", "--format", "json", *options, str(a), str(b)],
                               capture_output=True, text=True)
    assert completed.returncode in (0, 1), completed.stderr
    found = json.loads(completed.stdout)
    assert found["agree"] == (completed.returncode == 0)
    return {key: value for key, value in found.items() if key not in ("a", "b", "options")}


def as_tool_json(comparison):
    """A Comparison laid out as the tool's JSON, field by field."""

    def location(where):
        return {"event": where.event, "line": where.line, "section": where.section}

    def place(p):
        if p is None:
            return None
        return {"deviation": p.deviation, "pointA": list(p.point_a), "pointB": list(p.point_b), "a": location(p.a),
                "b": location(p.b)}

    def deviations(d):
        return {"partings": d.partings, "firstParting": place(d.first_parting), "largest": place(d.largest)}

    def differences(d):
        first = d.first
        if first is not None:
            first = {"point": list(first.point), "valueA": first.value_a, "valueB": first.value_b,
                     "a": location(first.a), "b": location(first.b)}
        return {"count": d.count, "first": first}

    def pair(values):
        return dict(zip("ab", values))

    c = comparison
    return {"agree": c.agree, "path": deviations(c.path), "axis": deviations(c.axis), "feeds": differences(c.feeds),
            "spindle": differences(c.spindle), "tools": differences(c.tools), "vertices": pair(c.vertices),
            "moves": pair(c.moves), "curvesAsChords": pair(c.curves_as_chords),
            "axisValueMoves": pair(c.axis_value_moves), "stopped": pair(c.stopped)}


def test_diff_finds_what_the_tool_finds(examples_dir, quarnnc_tool):
    toolpath = examples_dir / "part-3axis.nci"
    edited = quarnnc.diff(toolpath, examples_dir / "part-3axis-edited.ngc")
    assert as_tool_json(edited) == tool_diff(quarnnc_tool, toolpath, examples_dir / "part-3axis-edited.ngc")
    # The second hole drilled 0.02 mm deeper: named by the line of the G-code file, by the event in
    # the compact NCI file, which has no lines.
    parting = edited.path.first_parting
    assert not edited.agree and edited.path.partings == 1
    assert parting.deviation == pytest.approx(0.02) and parting.point_b == pytest.approx((90, 10, -12.02))
    assert parting.a.line is None and parting.b.line == 51
    assert repr(edited) == "Comparison(agree=False, path=Deviations(partings=1, largest=0.02), moves=(37, 36))"
    assert repr(parting.b) == "Location(event=96, line=51, section=3)"

    posted = quarnnc.diff(toolpath, examples_dir / "part-3axis.ngc")
    assert as_tool_json(posted) == tool_diff(quarnnc_tool, toolpath, examples_dir / "part-3axis.ngc")
    assert posted.agree and posted.path.first_parting is None and posted.moves == (37, 36)


def test_ignore_leaves_out_what_it_names(examples_dir, quarnnc_tool):
    # The five-axis toolpath and its CLDATA: one path, but the CLDATA carries no tool, spindle speed
    # or feed at the first move, where the NCI file has a rapid.
    a, b = examples_dir / "swarf-5axis.nci", examples_dir / "swarf-5axis.cld"
    everything = quarnnc.diff(a, b)
    assert everything.feeds.first.value_a is None and everything.feeds.first.value_b == 0
    assert everything.tools.first.value_a == 4 and everything.spindle.first.value_a == 12000
    for ignore, words in [((), []), (["feed"], ["feed"]), ({"spindle", "tools"}, ["spindle", "tools"]),
                          ("tools", ["tools"]), (iter(["feed", "spindle", "tools"]), ["feed", "spindle", "tools"])]:
        comparison = quarnnc.diff(a, b, ignore=ignore)
        options = ["--ignore", ",".join(words)] if words else []
        assert as_tool_json(comparison) == tool_diff(quarnnc_tool, a, b, *options), words
        assert (comparison.feeds.count == 0) == ("feed" in words)
        assert (comparison.tools.first is None) == ("tools" in words)
    assert comparison.agree and comparison.axis.largest.deviation == 0


@pytest.mark.parametrize("name", ["synthetic-mill.nci", "swarf-5axis.cld"])
def test_a_program_agrees_with_itself(examples_dir, name):
    path = examples_dir / name
    comparison = quarnnc.diff(path, path, tolerance=1e-6, axis_tolerance=1e-6)
    assert comparison.agree and comparison.moves[0] == comparison.moves[1] > 0
    assert comparison.vertices[0] == comparison.vertices[1] > 0
    for deviations in (comparison.path, comparison.axis):
        assert deviations.partings == 0 and deviations.first_parting is None
        assert deviations.largest.deviation == 0 and deviations.largest.a.event == deviations.largest.b.event
    # The text NCI reader gives the file's lines; the binary CLDATA has none.
    assert (comparison.path.largest.a.line is not None) == name.endswith(".nci")


def test_bad_files_and_arguments_raise(examples_dir, tmp_path):
    good = examples_dir / "part-3axis.ngc"
    missing = tmp_path / "missing.ngc"
    foreign = tmp_path / "notes.txt"
    foreign.write_text("Shopping list: milk, eggs, bread.\n")
    lines = good.read_text().splitlines(keepends=True)
    malformed = tmp_path / "bad.ngc"
    malformed.write_text("".join(lines[:30]) + "G1 X1..5 Y2\n" + "".join(lines[30:]))
    cut = tmp_path / "cut.nci"
    cut.write_bytes((examples_dir / "part-3axis.nci").read_bytes()[:1000])

    with pytest.raises(FileNotFoundError) as raised:
        quarnnc.diff(good, missing)
    assert raised.value.filename == str(missing)
    with pytest.raises(quarnnc.FormatError, match="Not an NC program"):
        quarnnc.diff(foreign, good)
    # Faults found on the reading threads, partway through either program.
    with pytest.raises(quarnnc.FormatError) as raised:
        quarnnc.diff(good, malformed)
    assert raised.value.file == str(malformed) and raised.value.line == 31
    with pytest.raises(quarnnc.FormatError) as raised:
        quarnnc.diff(cut, good)
    assert raised.value.file == str(cut) and raised.value.offset is not None

    refused = [
        (dict(tolerance=0), ValueError, "The tolerance must be a finite number of at least 1e-6 mm."),
        (dict(tolerance=float("nan")), ValueError, "The tolerance must be"),
        (dict(axis_tolerance=1e-7), ValueError, "The axis tolerance must be a finite number of at least 1e-6 degrees."),
        (dict(ignore=["feed", "speed"]), ValueError, "not 'speed'"),
        (dict(ignore="feed,spindle"), ValueError, "not 'feed,spindle'"),
        (dict(ignore=[1]), TypeError, "ignore takes words"),
        (dict(nci_unit="cm"), ValueError, "nci_unit must be"),
    ]
    for arguments, error, message in refused:
        with pytest.raises(error, match=message.replace(".", r"\.")):
            quarnnc.diff(good, good, **arguments)
