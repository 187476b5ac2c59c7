"""The manual page and bash completion generated from the program's help texts."""
import os
import subprocess

from qmtools import manpage

QUICK = """
Kavro(R) Zorbex. Quillmark 2.0, Nov 25 2026
QUICK HELP
-B               = batch mode (no console input)
-o[<file-name>]  = create txt-file and write console output
-L<ERR|WARN|PERF|INFO|TRACE|DATA> = set detail level of the console output
-?               = help with hidden keys
"""
EXTENDED = "EXTENDED HELP\n\n-B               = batch mode\n.starts with a dot\nback\\slash\n"


def test_page_and_completion_from_help_text(tmp_path):
    prog = tmp_path / "prog"
    prog.write_text(f"#!/bin/sh\nif [ \"$1\" = -h ]; then cat <<'X'\n{QUICK}X\nelse cat <<'X'\n{EXTENDED}X\nfi\n")
    prog.chmod(0o755)
    man, comp = tmp_path / "q.1", tmp_path / "q.bash"
    assert manpage.main([str(prog), "--man", str(man), "--completion", str(comp)]) == 0
    page = man.read_text()
    assert page.startswith('.TH QUILLMARK 1 "" "Quillmark 2.0"')
    assert ".TP\n\\fB-o\\fR[<file-name>]\ncreate txt-file and write console output" in page
    assert "\\&.starts with a dot" in page and "back\\eslash" in page   # roff requests and escapes defused
    script = comp.read_text()
    # The completion offers the keys, and file names after a file key only.
    steps = [f"source {comp}", "COMP_WORDS=(quillmark -)", "COMP_CWORD=1", "_quillmark", 'echo "${COMPREPLY[@]}"',
             f"cd {tmp_path}", "COMP_WORDS=(quillmark -oq.)", "_quillmark", 'echo "${COMPREPLY[@]}"',
             "COMP_WORDS=(quillmark -Lq)", "_quillmark", 'echo "${COMPREPLY[@]}"']
    r = subprocess.run(["bash", "-c", "; ".join(steps)],
                       capture_output=True, text=True)
    out = r.stdout.splitlines()
    assert out[0].split() == sorted(["--help", "--version", "-?", "-B", "-L", "-o"]), r.stderr
    assert sorted(out[1].split()) == ["-oq.1", "-oq.bash"]
    assert out[2] == ""
    assert "complete -o filenames -F _quillmark quillmark" in script
    # A program without help text gives no page.
    (tmp_path / "mute").write_text("#!/bin/sh\n")
    os.chmod(tmp_path / "mute", 0o755)
    assert manpage.main([str(tmp_path / "mute"), "--man", str(man), "--completion", str(comp)]) == 2
