"""What the benchmark scripts share: generating a job and printing the table."""
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))


def generate(kind, megabytes, path):
    """Writes a generated job of `kind` and about `megabytes` MB to `path`."""
    subprocess.run([sys.executable, os.path.join(HERE, "gen_jobs.py"), kind, str(megabytes), path],
                   check=True)


def print_table(head, rows):
    """Prints the rows (lists of strings) as a Markdown table under `head`."""
    print("| " + " | ".join(head) + " |")
    print("|" + "|".join("---" for _ in head) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")
