"""tools/family-sample.py: the sanitizer builds' families, on a tree made for the test."""
import os
import shutil
import subprocess
import sys

from helpers import TOOLS

SCRIPT = os.path.join(TOOLS, "family-sample.py")


def make_tree(root):
    """Five families; 'pin' is named by an end-to-end test, 'mod' by a module an end-to-end test runs."""
    (root / "tools").mkdir(exist_ok=True)
    shutil.copy(SCRIPT, root / "tools" / "family-sample.py")
    for fam in ["alpha", "beta", "gamma", "pin", "mod"]:
        d = root / "zkr" / "families" / fam
        d.mkdir(parents=True)
        (d / f"{fam}.tbl").write_text(f"ZKR_FN(zkri{fam.title()}_8u_C1R, unary, Zkr8u, C1)\n")
    (root / "zkr" / "families" / "notyet").mkdir()  # a folder without a table is no family
    (root / "zkri" / "src").mkdir(parents=True)
    (root / "zkri" / "src" / "p_mod_ia.cpp").write_text('class TimiMod;\n#define ZK_FAMILY_TABLE "mod/mod.tbl"\n')
    (root / "tests" / "e2e").mkdir(parents=True)
    (root / "tests" / "e2e" / "e2e_x.cpp").write_text('run("-tTimiMod"); run("-f=zkriPin_8u_C1R");\n')
    # Names in unit tests are only parsed: they pin nothing.
    (root / "tests" / "unit").mkdir(parents=True)
    (root / "tests" / "unit" / "t.cpp").write_text('"zkriAlpha_8u_C1R"\n')
    return root / "tools" / "family-sample.py"


def sample(script, *args):
    out = subprocess.run([sys.executable, str(script), *args], capture_output=True, text=True, check=True).stdout
    return out.strip().split(";")


def test_groups_cover_every_family_once_beside_the_pinned_ones(tmp_path):
    script = make_tree(tmp_path)
    groups = [set(sample(script, "--groups", "3", "--group", str(g))) for g in range(3)]
    for g in groups:
        assert {"pin", "mod"} <= g
    rotating = [g - {"pin", "mod"} for g in groups]
    assert set().union(*rotating) == {"alpha", "beta", "gamma"}
    assert sum(len(r) for r in rotating) == 3, "each unpinned family in exactly one group"
    assert "notyet" not in set().union(*groups)


def test_one_group_takes_every_family_and_the_default_repeats(tmp_path):
    script = make_tree(tmp_path)
    assert sample(script, "--groups", "1") == ["alpha", "beta", "gamma", "mod", "pin"]
    assert sample(script) == sample(script)


def test_bad_group_count_is_refused(tmp_path):
    script = make_tree(tmp_path)
    r = subprocess.run([sys.executable, str(script), "--groups", "0"], capture_output=True, text=True)
    assert r.returncode == 2 and "--groups must be at least 1" in r.stderr


def test_a_module_of_two_families_brings_both(tmp_path):
    script = make_tree(tmp_path)
    (tmp_path / "zkri" / "src" / "p_two_ia.cpp").write_text('#include "alpha/alpha.tbl"\n#include "beta/beta.tbl"\n')
    for g in range(3):
        s = set(sample(script, "--groups", "3", "--group", str(g)))
        assert ("alpha" in s) == ("beta" in s), s
    assert "gamma" in set().union(*(set(sample(script, "--groups", "3", "--group", str(g))) for g in range(3)))
