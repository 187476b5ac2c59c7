"""Reading result tables as the program writes them, and rejecting what it never writes."""
import pytest

from helpers import data, table_text
from qmtools.table import TableError, bytes_per_unit, read_table_file, read_tables, size_of


def test_appended_runs_are_samples_of_one_line():
    t = read_table_file(data("repeat5.csv"))
    assert len(t.runs) == 5
    assert len(t.lines) == 4                       # two functions at two sizes
    line = t.lines[("zkriAdd_8u_C1RSfs", ("64x64", "0"))]
    assert len(line.figures()) == 5
    assert all(s.result == "OK" for s in line.samples)
    assert line.unit == "pxch" and line.base == "Add" and line.data_type == "8u"
    # The 32f function has no scale factor: its empty parameter cells are not part of the key.
    assert ("zkriAdd_32f_C1R", ("128x128",)) in t.lines


def test_title_rows_with_commas_and_module_from_summary_table():
    t = read_table_file(data("repeat5.csv"))
    assert t.runs[0].title["Processor"].startswith("x86 with AVX-512 VNNI, 2x")
    assert "zkri, 1.0.0" in t.runs[0].title["Library"]   # both Library rows kept
    assert "zkrcore" in t.runs[0].title["Library"]
    assert {line.module for line in t.lines.values()} == {"TimiAdd"}


def test_name_rows_give_parameter_names():
    t = read_table_file(data("single.csv"))
    line = t.lines[("zkriAdd_8u_C1RSfs", ("64x64", "0"))]
    assert line.names == ("Size", "scaleFactor")
    assert line.label() == "zkriAdd_8u_C1RSfs Size=64x64 scaleFactor=0"
    assert all(len(x.samples) == 1 for x in t.lines.values())  # name rows are not samples
    assert next(iter(t.lines.values())).module == "-"          # no summary table beside it


def test_directory_reads_result_tables_only(tmp_path):
    (tmp_path / "a.csv").write_text(table_text([("zkriAdd_8u_C1R", "64x64", "0.5")]))
    (tmp_path / "b.csv").write_text(table_text([("zkriAdd_8u_C1R", "64x64", "0.6")]))
    (tmp_path / "b_sum.csv").write_text("Function,Class\nzkriAdd_8u_C1R,TimiAdd\nEND_DATA\n.Number of tests,1\n")
    (tmp_path / "notes.txt").write_text("not a table")
    t = read_tables(str(tmp_path))
    line = t.lines[("zkriAdd_8u_C1R", ("64x64",))]
    assert sorted(line.figures()) == [0.5, 0.6]
    assert line.module == "TimiAdd"


def test_failed_lines_have_no_figure_and_comments_may_hold_commas(tmp_path):
    p = tmp_path / "t.csv"
    p.write_text(table_text([("zkriAdd_8u_C1R", "64x64", "-", "FUNCFAIL", "lib error"),
                             ("zkriAdd_8u_C1R", "128x128", "0.4", "ACCURWRN", "nLps=2048 acc=7.3%, retried")]))
    t = read_table_file(str(p))
    failed = t.lines[("zkriAdd_8u_C1R", ("64x64",))]
    assert failed.figures() == [] and failed.samples[0].result == "FUNCFAIL"
    warned = t.lines[("zkriAdd_8u_C1R", ("128x128",))].samples[0]
    assert warned.clocks == 0.4
    assert warned.accuracy == pytest.approx(0.073)
    assert warned.comment == "nLps=2048 acc=7.3%, retried"


@pytest.mark.parametrize("text, line, what", [
    ("", 0, "no result table heading"),
    ("Program,Quillmark 2.0\nLibrary,-\n", 0, "no result table heading"),
    ("orphan\n", 1, "row before the table heading"),
    ("Function,Clocks\n", 1, "heading lacks column"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "fast")]), 4, "Clocks is not a number: 'fast'"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "-1")]), 4, "not a figure"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "0.1", "GREAT")]), 4, "unknown result 'GREAT'"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "-", "OK")]), 4, "result OK without clocks"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "0.1")]) + "zkriAdd_8u_C1R,Add,8u,C1R,64x64,-,0.1,pxch\n", 5,
     "8 cells where the heading has 12"),
    (table_text([("zkriAdd_8u_C1R", "64x64", "0.1")]).replace("0.1,pxch", "0.1,pxch", 1)
     + "zkriAdd_8u_C1R,Add,8u,C1R,64x64,-,0.2,clk,1,-,OK,-\n", 5, "unit 'clk'"),
])
def test_malformed_tables_name_file_and_line(tmp_path, text, line, what):
    p = tmp_path / "bad.csv"
    p.write_text(text)
    with pytest.raises(TableError) as e:
        read_table_file(str(p))
    prefix = f"{p}:{line}: " if line else f"{p}: "
    assert str(e.value).startswith(prefix)
    assert what in str(e.value)
    assert e.value.line == line


def test_missing_file_and_empty_directory(tmp_path):
    with pytest.raises(TableError, match="no such file"):
        read_tables(str(tmp_path / "none.csv"))
    with pytest.raises(TableError, match="holds no result table"):
        read_tables(str(tmp_path))


def test_sizes_and_bytes_per_unit():
    t = read_table_file(data("single.csv"))
    line = t.lines[("zkriAdd_32f_C1R", ("128x128",))]
    assert size_of(line.params, line.names) == (128 * 128, 0)
    assert bytes_per_unit(line) == 4
    assert size_of(("0", "1000"), ("scaleFactor", "len")) == (1000, 1)
    assert size_of(("0", "1000"), ("scaleFactor", "mode")) == (None, None)
    line.data_type, line.descriptor = "16s", "AC4RSfs"
    assert bytes_per_unit(line) == 8


def test_interest_column_after_a_comment_with_commas(tmp_path):
    p = tmp_path / "hot.csv"
    p.write_text("Function,funcBase,funcDataType,funcDescriptor,Parm1,Clocks,Unit,Time (usec),MFlops,Result,"
                 "Comment,Interest\n"
                 "zkriAdd_8u_C1R,Add,8u,C1R,64x64,0.5,pxch,1.0,-,OK,a, b, c,hot\n"
                 "zkriAdd_8u_C1R,Add,8u,C1R,128x128,0.6,pxch,1.0,-,OK,plain,-\n")
    t = read_table_file(str(p))
    assert t.lines[("zkriAdd_8u_C1R", ("64x64",))].samples[0].comment == "a, b, c"
    assert t.lines[("zkriAdd_8u_C1R", ("128x128",))].samples[0].clocks == 0.6


def _doc(records, threads=2, **over):
    doc = {"format": "quillmark-results", "version": 1,
           "metadata": {"start_time": "2026-11-25T21:00:00Z", "threads": {"requested": threads, "cores": 2},
                        "level": {"requested": None, "active": "avx2"}, "host": {"name": "h1"},
                        "processor": {"model": "P", "caches": [{"level": 2, "type": "unified", "bytes": 1048576}]},
                        "libraries": [{"name": "zkri", "version": "1.0.0 (ref avx2)", "build_date": "d"}]},
           "records": records}
    doc.update(over)
    return doc


def _rec(func, size, clocks, result="OK", **over):
    rec = {"function": func, "base": "Add", "type": "8u", "descriptor": "C1R", "class": "TimiAdd",
           "params": [{"name": "Size", "value": size}, {"name": "scaleFactor", "value": "0"}],
           "clocks": clocks, "unit": "pxch", "result": result, "comment": "", "method_params": "nLps=8 acc=7.5%"}
    rec.update(over)
    return rec


def test_json_documents_read_as_tables_and_merge_with_csv(tmp_path):
    import json
    d = tmp_path / "runs"
    d.mkdir()
    (d / "a.json").write_text(json.dumps(_doc([_rec("zkriAdd_8u_C1R", "64x64", 1.5),
                                               _rec("zkriAdd_8u_C1R", "128x128", None, "FUNCFAIL")])))
    (d / "b.csv").write_text(table_text([("zkriAdd_8u_C1R", "64x64", "1.7")]).replace(",-,1.7", ",0,1.7"))
    t = read_tables(str(d))
    line = t.lines[("zkriAdd_8u_C1R", ("64x64", "0"))]
    assert line.figures() == [1.5, 1.7]             # one line from both forms
    assert line.names == ("Size", "scaleFactor") and line.module == "TimiAdd"
    assert line.label() == "zkriAdd_8u_C1R Size=64x64 scaleFactor=0"
    assert line.samples[0].accuracy == pytest.approx(0.075)
    assert t.lines[("zkriAdd_8u_C1R", ("128x128", "0"))].figures() == []
    run = t.runs[0]
    assert (run.title["Threads"], run.title["Level"], run.title["Largest cache"]) == ("2", "avx2", "(1048576 bytes)")


@pytest.mark.parametrize("doc, what", [
    ("{", "not a JSON document"),
    ('{"format": "other", "version": 1, "metadata": {}, "records": []}', "format/version"),
    ('{"format": "quillmark-results", "version": 2, "metadata": {}, "records": []}', "format/version"),
    ('{"format": "quillmark-results", "version": 1, "records": []}', "lacks metadata"),
    (_doc([{"function": "f"}]), "record 1 lacks"),
    (_doc([_rec("f", "1x1", 1.0, "MAYBE")]), "unknown result 'MAYBE'"),
    (_doc([_rec("f", "1x1", None)]), "result OK without clocks"),
])
def test_malformed_json_is_refused(tmp_path, doc, what):
    import json
    p = tmp_path / "r.json"
    p.write_text(doc if isinstance(doc, str) else json.dumps(doc))
    with pytest.raises(TableError) as e:
        read_tables(str(p))
    assert what in str(e.value) and str(p) in str(e.value)


def test_shards_deal_out_every_function_once():
    from qmtools import select
    funcs = [f"f{i}" for i in range(10)]
    for n in (1, 3, 4, 10, 12):
        shards = [select.shard_of(funcs, i, n) for i in range(1, n + 1)]
        assert sorted(f for s in shards for f in s) == sorted(funcs)
        assert max(map(len, shards)) - min(map(len, shards)) <= 1
    for bad in ("0/3", "4/3", "1", "a/b"):
        with pytest.raises(ValueError):
            select.parse_shard(bad)
