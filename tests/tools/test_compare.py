"""quillmark-compare end to end: its console, csv and Markdown output and its exit status."""
import csv
import os
import subprocess


from helpers import TOOLS, data, scaled_copy, table_text, write_runs
from qmtools.compare import main

SCRIPT = os.path.join(TOOLS, "quillmark-compare")


def run(capsys, *args):
    code = main([str(a) for a in args])
    out = capsys.readouterr()
    return code, out.out, out.err


def verdict_rows(path):
    with open(path, newline="") as f:
        return {r["line"]: r for r in csv.DictReader(f)}


def test_identical_inputs_are_the_same_everywhere(capsys, tmp_path):
    code, out, err = run(capsys, data("repeat5.csv"), data("repeat5.csv"), "--csv", tmp_path / "c.csv")
    assert code == 0 and err == ""
    assert "Verdicts: faster 0, slower 0, same 4, too noisy 0; baseline only 0, contender only 0" in out
    assert "too few samples" not in out
    rows = verdict_rows(tmp_path / "c.csv")
    assert len(rows) == 4
    assert all(r["ratio"] == "1.000" and r["method"] == "U test" for r in rows.values())


def test_known_slowdown_of_20_percent_fails(capsys, tmp_path):
    slow = scaled_copy(data("repeat5.csv"), tmp_path / "slow.csv", 1.2)
    code, out, err = run(capsys, data("repeat5.csv"), slow, "--csv", tmp_path / "c.csv", "--md", tmp_path / "c.md")
    assert code == 1
    assert "2 lines slower by more than 5%" in err
    rows = verdict_rows(tmp_path / "c.csv")
    assert {r["change"] for r in rows.values()} == {"+20.0%"}
    # The recorded 8u lines scatter by 3 to 14%: the slowdown stands out. The 32f lines scatter by
    # 34 to 45% (a slow first run): five samples cannot separate 20% from that.
    assert rows["zkriAdd_8u_C1RSfs 64x64 0"]["verdict"] == "slower"
    assert rows["zkriAdd_8u_C1RSfs 128x128 0"]["verdict"] == "slower"
    assert rows["zkriAdd_32f_C1R 64x64"]["verdict"] == "too noisy"
    assert rows["zkriAdd_32f_C1R 128x128"]["verdict"] == "too noisy"
    assert "  Add                         1.200    +20.0%  (4 lines)" in out
    assert "  TimiAdd                     1.200    +20.0%  (4 lines)" in out
    md = (tmp_path / "c.md").read_text()
    assert "| **slower** |" in md and "| slower | 2 |" in md and "| TimiAdd | 1.200 | +20.0% | 4 |" in md
    # The threshold is a setting: 20% is below --fail-above 25, and a speed-up never fails.
    assert run(capsys, data("repeat5.csv"), slow, "--fail-above", "25")[0] == 0
    assert run(capsys, slow, data("repeat5.csv"))[0] == 0


def test_one_sample_per_side(capsys, tmp_path):
    base = write_runs(tmp_path / "b.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"),
                                            ("zkriAdd_8u_C1R", "128x128", "1.0")]])
    cont = write_runs(tmp_path / "c.csv", [[("zkriAdd_8u_C1R", "64x64", "1.2"),
                                            ("zkriAdd_8u_C1R", "128x128", "1.07")]])
    code, out, _ = run(capsys, base, cont, "--csv", tmp_path / "o.csv")
    rows = verdict_rows(tmp_path / "o.csv")
    assert rows["zkriAdd_8u_C1R 64x64"]["verdict"] == "slower"
    assert rows["zkriAdd_8u_C1R 64x64"]["method"] == "accuracy"
    assert rows["zkriAdd_8u_C1R 128x128"]["verdict"] == "too noisy"
    assert code == 1
    assert "2 of 2 lines had too few samples for the rank test" in out


def test_slow_but_noisy_line_does_not_fail(capsys, tmp_path):
    base = write_runs(tmp_path / "b.csv", [[("zkriAdd_8u_C1R", "64x64", v)] for v in ("1.0", "1.5", "0.9", "1.4", "1.0")])
    cont = write_runs(tmp_path / "c.csv", [[("zkriAdd_8u_C1R", "64x64", v)] for v in ("1.3", "0.95", "1.45", "1.1", "1.2")])
    code, out, _ = run(capsys, base, cont)
    assert code == 0
    assert "too noisy 1" in out


def test_missing_and_failed_lines_are_listed(capsys, tmp_path):
    base = write_runs(tmp_path / "b.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"), ("zkriAdd_8u_C1R", "128x128", "1.0"),
                                            ("zkriSub_8u_C1R", "64x64", "-", "FUNCFAIL")]])
    cont = write_runs(tmp_path / "c.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"), ("zkriMul_8u_C1R", "64x64", "2.0"),
                                            ("zkriSub_8u_C1R", "64x64", "-", "FUNCFAIL")]])
    code, out, _ = run(capsys, base, cont, "--csv", tmp_path / "o.csv", "--md", tmp_path / "o.md")
    assert code == 0
    assert "Baseline only (1 lines):\n  zkriAdd_8u_C1R 128x128\n" in out
    assert "Contender only (1 lines):\n  zkriMul_8u_C1R 64x64\n" in out
    assert "No figure on either side (1 lines):\n  zkriSub_8u_C1R 64x64\n" in out
    rows = verdict_rows(tmp_path / "o.csv")
    assert rows["zkriAdd_8u_C1R 128x128"]["verdict"] == "baseline only"
    assert rows["zkriMul_8u_C1R 64x64"]["verdict"] == "contender only"
    assert "- `zkriMul_8u_C1R 64x64`" in (tmp_path / "o.md").read_text()


def test_directories_gather_samples(capsys, tmp_path):
    for side, value in (("a", "1.0"), ("b", "1.5")):
        d = tmp_path / side
        d.mkdir()
        for i in range(4):
            (d / f"run{i}.csv").write_text(table_text([("zkriAdd_8u_C1R", "64x64", value)]))
    code, out, _ = run(capsys, tmp_path / "a", tmp_path / "b", "--csv", tmp_path / "o.csv")
    row = verdict_rows(tmp_path / "o.csv")["zkriAdd_8u_C1R 64x64"]
    assert (row["n base"], row["n contender"], row["method"], row["verdict"]) == ("4", "4", "U test", "slower")
    assert code == 1


def test_bad_input_exits_2_naming_file_and_line(tmp_path):
    bad = tmp_path / "bad.csv"
    bad.write_text(table_text([("zkriAdd_8u_C1R", "64x64", "0.1")]) + "zkriAdd_8u_C1R,Add,8u,C1R,64x64,-,x,pxch,1,-,OK,-\n")
    r = subprocess.run([SCRIPT, data("repeat5.csv"), str(bad)], capture_output=True, text=True)
    assert r.returncode == 2
    assert r.stderr.strip() == f"quillmark-compare: {bad}:5: Clocks is not a number: 'x'"
    assert r.stdout == ""
    r = subprocess.run([SCRIPT, str(tmp_path / "absent.csv"), data("repeat5.csv")], capture_output=True, text=True)
    assert r.returncode == 2 and "absent.csv: no such file or directory" in r.stderr


def test_console_summary_first_narrow_table_changed_lines_first(capsys, tmp_path):
    base = write_runs(tmp_path / "b.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"), ("zkriAdd_8u_C1R", "96x96", "1.0"),
                                            ("zkriAdd_8u_C1R", "128x128", "1.0")]] * 5)
    cont = write_runs(tmp_path / "c.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"), ("zkriAdd_8u_C1R", "96x96", "1.1"),
                                            ("zkriAdd_8u_C1R", "128x128", "1.5")]] * 5)
    _, out, _ = run(capsys, base, cont)
    lines = out.splitlines()
    assert lines[0].startswith("Verdicts: faster 0, slower 2, same 1")
    table = lines[[i for i, l in enumerate(lines) if l.split()[:1] == ["line"]][0]:]
    assert table[0].split() == ["line", "change", "verdict", "base", "contender"]
    # Changed lines first, the largest change first; the narrow table stays narrow.
    assert [l.split()[1] for l in table[1:]] == ["128x128", "96x96", "64x64"]
    assert max(len(l) for l in table) < 80
    _, out, _ = run(capsys, base, cont, "--full")
    header = [l for l in out.splitlines() if l.startswith("line")][0].split()
    assert header[:4] == ["line", "module", "base", "contender"] and "p corrected" in " ".join(header)
    _, out, _ = run(capsys, base, cont, "--only-changed")
    assert sum(1 for l in out.splitlines() if l.startswith("zkriAdd_")) == 2
    _, out, _ = run(capsys, base, cont, "-q")
    assert out.startswith("Verdicts:") and not any(l.startswith("zkriAdd_") for l in out.splitlines())
    run(capsys, base, cont, "--md", tmp_path / "o.md")
    md = (tmp_path / "o.md").read_text()
    assert md.startswith("| verdict | lines |")
    assert md.index("zkriAdd_8u_C1R 128x128") < md.index("zkriAdd_8u_C1R 96x96") < md.index("zkriAdd_8u_C1R 64x64")
