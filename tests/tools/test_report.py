"""quillmark-report from recorded tables of two instruction-set levels, and the main job's selection."""
import base64
import os
import re
import shutil
import subprocess

import pytest

from helpers import TOOLS, data, scaled_copy, write_runs
from qmtools import report, select
from qmtools.table import read_tables

SCRIPT = os.path.join(TOOLS, "quillmark-report")


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    d = tmp_path_factory.mktemp("report")
    out = d / "page.html"
    r = subprocess.run([SCRIPT, f"X64={data('level_X64.csv')}", f"AVX512={data('level_X64v4.csv')}",
                        data("single.csv"), "-o", str(out), "--plots-dir", str(d / "plots")],
                       capture_output=True, text=True)
    assert r.returncode == 0, r.stderr
    assert r.stdout.strip() == str(out)
    return out, out.read_text(), d / "plots"


def test_page_has_every_section_and_is_self_contained(page):
    _, text, _ = page
    for section in ("runs", "caches", "speedup", "functions"):
        assert f'<section id="{section}">' in text
    # single.csv ran the same avx512 code path as the AVX512 table.
    assert "<th>X64</th><th>AVX512</th><th>single<br><small>same code as AVX512</small></th>" in text
    assert not re.search(r'src="(?!data:)', text)             # every image is inside the page
    images = re.findall(r'src="data:image/png;base64,([^"]+)"', text)
    assert len(images) == 2                                    # one plot per function
    assert all(base64.b64decode(i).startswith(b"\x89PNG") for i in images)


def test_runs_table_names_level_and_library(page):
    _, text, _ = page
    assert re.search(r'<td>X64</td><td title="[^"]*level_X64.csv">level_X64.csv</td>'
                     r'<td class="num">1</td><td class="num">6</td>', text)
    assert "(ref x64)" in text and "(ref avx512)" in text


def test_speedup_matrix_against_the_first_table(page):
    _, text, _ = page
    row = re.search(r'zkriAdd_8u_C1RSfs</a></td>(.*?)</tr>', text).group(1)
    cells = re.findall(r">([-0-9.]+)(?: &#9733;)?</td>", row)
    assert cells[0] == "1.00"
    x64 = read_tables(data("level_X64.csv")).lines
    v4 = read_tables(data("level_X64v4.csv")).lines
    ratios = [x64[k].figures()[0] / v4[k].figures()[0] for k in x64 if k[0] == "zkriAdd_8u_C1RSfs"]
    expected = 1.0
    for r in ratios:
        expected *= r
    assert float(cells[1]) == pytest.approx(expected ** (1 / len(ratios)), abs=0.006)


def test_overall_row_and_best_table_marker(tmp_path):
    fast = scaled_copy(data("level_X64.csv"), tmp_path / "fast.csv", 0.5)
    text = report.build_page(report.load([data("level_X64.csv"), str(fast)]), "x")
    overall = re.search(r'<tr class="overall"><th>geometric mean of all functions</th>(.*?)</tr>', text).group(1)
    assert re.findall(r">([-0-9.]+)( &#9733;)?</td>", overall) == [("1.00", ""), ("2.00", " &#9733;")]
    # Every function row marks the twice-as-fast table as its best.
    rows = re.findall(r'</a></td>(.*?)</tr>', text)
    assert rows and all(r.count("&#9733;") == 1 and r.index("&#9733;") > r.index("1.00") for r in rows)


@pytest.mark.parametrize("sets, tables", [(1, 3), (12, 3), (3, 8), (2, 9), (36, 1)])
def test_no_plot_has_more_than_eight_lines(sets, tables):
    groups = {(f"t{t}", f"p={s}"): [] for s in range(sets) for t in range(tables)}
    parts = report.panels(groups)
    assert all(0 < len(p) <= report.MAX_LINES for p in parts)
    assert sorted(k for p in parts for k in p) == sorted(groups)      # every line in exactly one plot
    if tables <= report.MAX_LINES:                                     # a parameter set's lines stay together
        assert all(len({k[1] for k in p}) * tables == len(p) for p in parts)
    if report.MAX_LINES % tables == 0:                                # sets that divide a plot fill it
        assert len(parts) == -(-sets * tables // report.MAX_LINES)


def test_plots_are_written_beside_on_request(page):
    _, _, plots = page
    assert sorted(os.listdir(plots)) == ["zkriAdd_32f_C1R.png", "zkriAdd_8u_C1RSfs.png"]


def test_curves_use_bytes_of_one_image_and_names_from_any_table():
    sources = report.load([f"a={data('level_X64.csv')}", data("single.csv")])
    curves, in_bytes = report.curves(sources)
    groups = curves["zkriAdd_8u_C1RSfs"]
    # level_X64.csv has no name rows; single.csv names the scale factor for both.
    assert set(groups) == {("a", "scaleFactor=0"), ("single", "scaleFactor=0")}
    assert [p[0] for p in groups[("a", "scaleFactor=0")]] == [32 * 32, 128 * 128, 512 * 512]
    assert [p[0] for p in curves["zkriAdd_32f_C1R"][("a", "")]] == [4 * 32 * 32, 4 * 128 * 128, 4 * 512 * 512]
    assert in_bytes["zkriAdd_32f_C1R"]
    # One run per table: the band of each point is the point itself.
    assert all(p[1] == p[2] == p[3] for p in groups[("a", "scaleFactor=0")])


def test_curves_carry_the_spread_of_repeated_runs():
    curves, _ = report.curves(report.load([data("repeat5.csv")]))
    for groups in curves.values():
        for pts in groups.values():
            for _, median, lo, hi in pts:
                assert lo <= median <= hi
    assert any(lo < hi for groups in curves.values() for pts in groups.values() for _, _, lo, hi in pts)


def test_speedup_of_a_table_twice_as_fast(tmp_path):
    fast = scaled_copy(data("level_X64.csv"), tmp_path / "fast.csv", 0.5)
    sources = report.load([data("level_X64.csv"), str(fast), data("single.csv")])
    matrix = report.speedups(sources)
    assert matrix["zkriAdd_32f_C1R"][0] == pytest.approx(1.0)
    assert matrix["zkriAdd_32f_C1R"][1] == pytest.approx(2.0, rel=1e-4)
    assert matrix["zkriAdd_32f_C1R"][2] is not None                   # 128x128 is in both


def test_function_without_size_or_figure(tmp_path):
    t = write_runs(tmp_path / "t.csv", [[("zkriAdd_8u_C1R", "64x64", "1.0"), ("zkriSub_8u_C1R", "64x64", "-", "FUNCFAIL")]])
    text = report.build_page(report.load([t]), "x")
    assert "zkriSub_8u_C1R: no size parameter or no figure to plot" in text
    assert text.count("data:image/png") == 1


def test_cache_sizes_from_sysfs_then_getconf_then_title(tmp_path):
    for i, (level, kind, size) in enumerate([("1", "Data", "48K"), ("1", "Instruction", "32K"),
                                             ("2", "Unified", "1024K"), ("3", "Unified", "32768K")]):
        d = tmp_path / f"index{i}"
        d.mkdir()
        (d / "level").write_text(level + "\n")
        (d / "type").write_text(kind + "\n")
        (d / "size").write_text(size + "\n")
    assert report.cache_sizes(str(tmp_path)) == {"L1d": 48 << 10, "L2": 1 << 20, "L3": 32 << 20}
    runs = read_tables(data("single.csv")).runs
    assert report.cache_sizes(str(tmp_path / "none"), runs, getconf="/nonexistent") == {"largest": 532676608}


def test_bad_table_exits_2(tmp_path):
    bad = tmp_path / "bad.csv"
    bad.write_text("Function,funcBase\n")
    r = subprocess.run([SCRIPT, str(bad), "-o", str(tmp_path / "p.html")], capture_output=True, text=True)
    assert r.returncode == 2 and f"{bad}:1: heading lacks column" in r.stderr
    assert not (tmp_path / "p.html").exists()


def test_page_in_a_real_browser(page, tmp_path):
    browser = next((shutil.which(b) for b in ("chromium", "chromium-browser", "google-chrome") if shutil.which(b)), None)
    if browser is None:
        pytest.skip("no headless Chromium installed: the page was not checked in a browser")
    out, _, _ = page
    shot = tmp_path / "page.png"
    r = subprocess.run([browser, "--headless", "--no-sandbox", "--disable-gpu", f"--screenshot={shot}",
                        "--window-size=1200,900", out.as_uri()], capture_output=True, text=True, timeout=120)
    assert r.returncode == 0, r.stderr
    png = shot.read_bytes()
    assert png.startswith(b"\x89PNG") and len(png) > 10000        # a rendered page, not a blank one


def test_selection_takes_a_few_functions_of_every_class():
    rows = [["Program", "Quillmark 2.0"], ["Library", "-"], ["__qmKavroCpu", "__qmKavroCpu"],
            ["zkriAdd_8u_C3RSfs", "TimiAdd"], ["zkriAdd_8u_C1RSfs", "TimiAdd"], ["zkriAdd_16s_C1RSfs", "TimiAdd"],
            ["zkriAdd_32f_C1R", "TimiAdd"], ["zkriSqr_32f_C1R", "TimiSqr"], ["zkriFFTFwd_32fc_C1R", "TimiFft"],
            ["zkriAlphaComp_32f_AC4R", "iAlphaComp__YS"]]
    classes = select.classes_of(rows)
    assert list(classes) == ["TimiAdd", "TimiSqr", "TimiFft", "iAlphaComp__YS"]
    assert select.pick(classes["TimiAdd"], 2) == ["zkriAdd_8u_C1RSfs", "zkriAdd_16s_C1RSfs"]
    assert select.pick(classes["TimiAdd"], 3) == ["zkriAdd_8u_C1RSfs", "zkriAdd_16s_C1RSfs", "zkriAdd_32f_C1R"]
    assert select.pick(classes["TimiAdd"], 9) == ["zkriAdd_8u_C1RSfs", "zkriAdd_16s_C1RSfs", "zkriAdd_32f_C1R",
                                                  "zkriAdd_8u_C3RSfs"]
    assert select.pick(classes["TimiFft"], 2) == ["zkriFFTFwd_32fc_C1R"]


def test_selection_from_a_real_listing(tmp_path, capsys):
    listing = tmp_path / "listing.csv"
    listing.write_text("Program,Quillmark 2.0\nLibrary,-\n__qmKavroCpu,__qmKavroCpu\n"
                       "zkriAdd_8u_C1RSfs,TimiAdd\nzkriAdd_32f_C1R,TimiAdd\n")
    assert select.main([str(listing), "--per-class", "1"]) == 0
    assert capsys.readouterr().out == "[zkriAdd_8u_C1RSfs]\n"
    listing.write_text("Program,Quillmark 2.0\n")
    assert select.main([str(listing)]) == 2


def test_selection_total_keeps_every_class_and_shares_the_rest():
    assert select.counts(4, 3) == [3, 3, 3, 3]
    assert select.counts(4, 3, total=12) == [3, 3, 3, 3]          # the cap is not reached
    assert select.counts(4, 3, total=10) == [3, 3, 2, 2]          # the first classes take the remainder
    assert select.counts(4, 3, total=4) == [1, 1, 1, 1]
    assert select.counts(5, 3, total=2) == [1, 1, 1, 1, 1]        # never a class left out
    assert select.counts(3, 2, total=100) == [2, 2, 2]


def test_selection_total_from_a_listing(tmp_path, capsys):
    listing = tmp_path / "listing.csv"
    listing.write_text("Program,Quillmark 2.0\nzkriAdd_8u_C1RSfs,TimiAdd\nzkriAdd_32f_C1R,TimiAdd\n"
                       "zkriSqr_8u_C1RSfs,TimiSqr\nzkriSqr_32f_C1R,TimiSqr\nzkriSum_8u_C1R,TimiSum\n")
    assert select.main([str(listing), "--total", "4"]) == 0
    assert capsys.readouterr().out == ("[zkriAdd_8u_C1RSfs]\n[zkriAdd_32f_C1R]\n[zkriSqr_8u_C1RSfs]\n"
                                       "[zkriSum_8u_C1R]\n")
    assert select.main([str(listing), "--total", "0"]) == 2


def test_levels_that_run_the_same_code_are_marked(tmp_path):
    # The library's version text names its code path: X64 and X64v2 both run "ref x64".
    def level(name, path):
        text = open(data("level_X64.csv")).read()
        text = re.sub(r"^Library,(\w+),.*$", rf"Library,\1, 1.0.0 ({path}), Nov 25 2026", text, flags=re.M)
        f = tmp_path / f"{name}.csv"
        f.write_text(text)
        return f"{name}={f}"
    sources = report.load([level("X64", "ref x64"), level("X64v2", "ref x64"), level("X64v3", "ref avx2")])
    assert report.same_code(sources) == {"X64v2": "X64"}
    page = report.build_page(sources, "levels")
    assert page.count("same code as X64</small>") == 1
    # A table whose title names no code path is never marked.
    bare = tmp_path / "bare.csv"
    bare.write_text(re.sub(r"^Library,.*\n", "", open(data("level_X64.csv")).read(), flags=re.M))
    assert report.same_code(report.load([level("X64", "ref x64"), f"bare={bare}"])) == {}
