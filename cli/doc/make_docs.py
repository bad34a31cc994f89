#!/usr/bin/env python3
"""Makes the man page and the bash completion of the vantrove tool from its
own --help text, so that both say what the tool says.

    make_docs.py TOOL --man vantrove.1 --completion vantrove.bash
"""

import argparse
import re
import subprocess
import sys

# Sections a help text does not carry.
EXIT_STATUS = [("0", "all done"), ("1", "some inputs failed (the others were still processed) or a call failed"),
               ("2", "usage error: unknown option, bad argument")]
ENVIRONMENT = [("TMPDIR", "where temporary descriptions go when the library folder is not writable (default /tmp)"),
               ("VANTROVE_DIAGNOSTICS", "set to 1 to have methods that fail quietly by design say why on stderr")]


def run_help(tool, *args):
    out = subprocess.run([tool, *args, "--help"], capture_output=True, text=True, check=True).stdout
    # The usage line names the tool by the path it was started with.
    return re.sub(r"^Usage: \S+", "Usage: vantrove", out, flags=re.M)


def parse(text):
    """Splits a help text into its summary, usage, named sections (lists of
    (term, description)) and the free text that follows them."""
    lines = text.rstrip("\n").split("\n")
    page = {"summary": lines[0].strip(), "usage": "", "sections": {}, "order": []}
    current = None
    for line in lines[1:]:
        if line.startswith("Usage: "):
            page["usage"] = line[len("Usage: "):].strip()
            current = None
        elif re.match(r"^[A-Z][A-Za-z ]*:$", line):
            current = line[:-1]
            page["sections"][current] = []
            page["order"].append(current)
        elif current and line.strip():
            entries = page["sections"][current]
            m = re.match(r"^  (\S.*?)(?:\s{2,}(\S.*))?$", line)
            if current != "Examples" and line.startswith("    ") and entries:
                term, desc = entries[-1]
                entries[-1] = (term, (desc + " " + line.strip()).strip())
            elif current == "Examples" or not line.startswith("  ") or m is None:
                entries.append((line.strip(), ""))
            else:
                entries.append((m.group(1).strip(), (m.group(2) or "").strip()))
    return page


def options_of(page):
    """The option spellings (-o, --output) and, for those with a fixed set of
    values, the values."""
    names, choices = [], {}
    for term, _ in page["sections"].get("Options", []):
        spellings = re.findall(r"(?:^|,)(--?[A-Za-z0-9][\w-]*)", term.split(" ")[0])
        values = re.search(r":\{([^}]*)\}", term)
        for s in spellings:
            names.append(s)
            if values:
                choices[s] = values.group(1).split(",")
    return names, choices


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\n".join(("\\&" + l) if l.startswith((".", "'")) else l for l in text.split("\n"))


def man_page(top, subs, version):
    out = [f'.TH VANTROVE 1 "" "vantrove {version}" "User Commands"', ".SH NAME",
           "vantrove \\- " + roff(top["summary"].split(": ", 1)[-1]), ".SH SYNOPSIS"]
    for name, page in subs:
        out += [".B vantrove " + name, roff(page["usage"].split(" ", 2)[2] if page["usage"].count(" ") >= 2 else ""),
                ".br"]
    out += [".SH DESCRIPTION", roff(top["summary"]), ".SH COMMANDS"]
    for name, page in subs:
        out += [".SS " + roff(name), roff(page["summary"])]
        for section in page["order"]:
            entries = page["sections"][section]
            if section == "Options":
                entries = [e for e in entries if not e[0].startswith("-h,--help")]
            if not entries:
                continue
            if section == "Examples":
                out += [".PP", "Examples:", ".RS", ".nf"] + [roff(t) for t, _ in entries] + [".fi", ".RE"]
            elif all(not d for _, d in entries):
                out += [".PP"] + [roff(t) for t, _ in entries]
            else:
                out += [".PP", roff(section) + ":"]
                for term, desc in entries:
                    out += [".TP", ".B " + roff(term), roff(desc)]
    out += [".SH OPTIONS", ".TP", ".B \\-h, \\-\\-help",
            "Print the help of the tool, or of one command after its name, and exit."]
    out += [".SH EXIT STATUS"] + sum(([".TP", ".B " + c, roff(d)] for c, d in EXIT_STATUS), [])
    out += [".SH ENVIRONMENT"] + sum(([".TP", ".B " + n, roff(d)] for n, d in ENVIRONMENT), [])
    return "\n".join(out) + "\n"


def completion(subs):
    names = " ".join(n for n, _ in subs)
    cases = []
    for name, page in subs:
        opts, choices = options_of(page)
        value_cases = "".join(f'        {o}) COMPREPLY=($(compgen -W "{" ".join(v)}" -- "$cur")); return ;;\n'
                              for o, v in choices.items())
        cases.append(f"    {name})\n      case \"$prev\" in\n{value_cases}"
                     f"        -o|--output|-d|--output-dir) COMPREPLY=($(compgen -f -- \"$cur\")); return ;;\n"
                     f"      esac\n"
                     f"      if [[ $cur == -* ]]; then COMPREPLY=($(compgen -W \"{' '.join(opts)}\" -- \"$cur\"));\n"
                     f"      else COMPREPLY=($(compgen -f -- \"$cur\")); fi ;;")
    return f"""# bash completion for vantrove (made from its --help text)
_vantrove() {{
  local cur=${{COMP_WORDS[COMP_CWORD]}} prev=${{COMP_WORDS[COMP_CWORD-1]}} cmd="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    [[ ${{COMP_WORDS[i]}} != -* ]] && {{ cmd=${{COMP_WORDS[i]}}; break; }}
  done
  if [[ -z $cmd ]]; then
    COMPREPLY=($(compgen -W "{names} --help" -- "$cur"))
    return
  fi
  case "$cmd" in
{chr(10).join(cases)}
    *) COMPREPLY=($(compgen -f -- "$cur")) ;;
  esac
}}
complete -o filenames -F _vantrove vantrove
"""


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("tool")
    ap.add_argument("--man")
    ap.add_argument("--completion")
    a = ap.parse_args()
    top = parse(run_help(a.tool))
    subs = [(name, parse(run_help(a.tool, name))) for name, _ in top["sections"].get("Subcommands", [])]
    if not subs:
        sys.exit("make_docs.py: the tool's help lists no commands")
    version = subprocess.run([a.tool, "call", "Version"], capture_output=True, text=True).stdout
    version = (re.search(r'"result":"([^"]*)"', version) or re.search("()", "")).group(1)
    if a.man:
        with open(a.man, "w", encoding="utf-8") as f:
            f.write(man_page(top, subs, version))
    if a.completion:
        with open(a.completion, "w", encoding="utf-8") as f:
            f.write(completion(subs))


if __name__ == "__main__":
    main()
