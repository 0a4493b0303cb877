#!/usr/bin/env python3
"""Rewrites the pendara-cli section of the help page from the program's own --help texts.

Usage: scripts/update_help.py BUILD_DIR   (run after adding or changing a command)
"""
import html
import re
import subprocess
import sys
from pathlib import Path

build = Path(sys.argv[1] if len(sys.argv) > 1 else "build")
cli = next(p for p in [build / "pendara-cli", build / "tools" / "pendara-cli"] if p.exists())
page = Path(__file__).resolve().parent.parent / "docs" / "help" / "punteo.htm"


def run(*args):
    return subprocess.run([str(cli), *args], check=True, capture_output=True, text=True).stdout


top = run("--help")
orders = top[top.index("Órdenes:"):].splitlines()[1:]
names = []
for line in orders:
    if not line.startswith("  "):
        break
    names.append(line.split()[0])

parts = ["<pre>" + html.escape(top.rstrip("\n"), quote=False) + "</pre>"]
for name in names:
    text = run(name, "--help").rstrip("\n")
    parts.append(f'<h3 id="cli-{name}"><code>pendara-cli {name}</code></h3>')
    parts.append("<pre>" + html.escape(text, quote=False) + "</pre>")

source = page.read_text(encoding="utf-8")
start = source.index("<pre>Pendara:")
# The section ends with the last command's </pre>, just before the qvdata paragraph.
tail = source.index("\n\n<p>Los datos de prueba")
page.write_text(source[:start] + "\n".join(parts) + source[tail:], encoding="utf-8")
print(f"{page}: {len(names)} órdenes")
