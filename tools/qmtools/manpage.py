"""The manual page and the bash completion of quillmark, generated from its own help texts.

    python3 -m qmtools.manpage PROGRAM --man quillmark.1 --completion quillmark.bash

PROGRAM is run with -h (the one-line help of every key) and -hh (the extended help); the page holds
both, the completion offers every key and --help/--version, and completes file names after the keys
that take a file.
"""
import argparse
import re
import subprocess
import sys

_KEY = re.compile(r"^(-[A-Za-z?])(.*?)\s*=\s+(.*)$")
_FILE_KEYS = set("iIorRqujgpl")   # keys whose argument is a file or directory


def help_text(program, arg):
    r = subprocess.run([program, arg], capture_output=True, text=True, check=True)
    return r.stdout


def keys(quick):
    """(key, argument form, one-line help) for every line of the quick help, in its order."""
    out = []
    for line in quick.splitlines():
        m = _KEY.match(line.strip())
        if m:
            out.append(m.groups())
    return out


def _roff(text):
    text = text.replace("\\", "\\e")
    return "\n".join(("\\&" + l) if l.startswith((".", "'")) else l for l in text.splitlines())


def man_page(quick, extended, version):
    entries = keys(quick)
    out = [f'.TH QUILLMARK 1 "" "Quillmark {version}" "User Commands"',
           ".SH NAME", "quillmark \\- measures the speed of the ZKR library function by function in processor clocks",
           ".SH SYNOPSIS", ".B quillmark", "[\\fIkeys\\fR]", ".br", ".B quillmark --help | --version",
           ".SH DESCRIPTION",
           "Every key is one letter after \"-\" (or \"/\"); its argument follows it directly or as the next word.",
           "Words beginning with \"--\" other than --help and --version are refused.",
           ".SH KEYS"]
    for key, form, text in entries:
        out += [".TP", f"\\fB{_roff(key)}\\fR{_roff(form)}", _roff(text)]
    body = extended.split("\n", 1)[1] if "\n" in extended else extended
    out += [".SH EXTENDED HELP", ".nf", _roff(body.strip("\n")), ".fi",
            ".SH FILES", "quillmark.cfg beside the program: its first line is the command line of a run without keys.",
            ".SH SEE ALSO", "quillmark-report(1), quillmark-compare(1)"]
    return "\n".join(out) + "\n"


def completion(quick):
    words = sorted({k for k, _, _ in keys(quick)} | {"--help", "--version"})
    files = "".join(sorted(k for k in _FILE_KEYS if any(w == "-" + k for w in words)))
    offered = " ".join(w.replace("?", "\\?") for w in words)   # "?" would be a glob in compgen -W
    return f"""# bash completion for quillmark, generated from its help text
_quillmark() {{
    local cur="${{COMP_WORDS[COMP_CWORD]}}"
    case "$cur" in
        -[{files}]?*)
            local key="${{cur:0:2}}"
            COMPREPLY=($(compgen -f -P "$key" -- "${{cur:2}}"))
            return;;
        -*)
            COMPREPLY=($(compgen -W "{offered}" -- "$cur"))
            return;;
    esac
    COMPREPLY=($(compgen -f -- "$cur"))
}}
complete -o filenames -F _quillmark quillmark
"""


def main(argv=None):
    p = argparse.ArgumentParser(prog="qmtools.manpage", description=__doc__.split("\n\n")[0])
    p.add_argument("program")
    p.add_argument("--man", required=True)
    p.add_argument("--completion", required=True)
    args = p.parse_args(argv)
    quick, extended = help_text(args.program, "-h"), help_text(args.program, "-hh")
    m = re.search(r"Quillmark (\S+),", quick)
    if not keys(quick) or "EXTENDED HELP" not in extended:
        print(f"{args.program}: no help text to build from", file=sys.stderr)
        return 2
    with open(args.man, "w", encoding="utf-8") as f:
        f.write(man_page(quick, extended[extended.index("EXTENDED HELP"):], m.group(1) if m else ""))
    with open(args.completion, "w", encoding="utf-8") as f:
        f.write(completion(quick))
    return 0


if __name__ == "__main__":
    sys.exit(main())
