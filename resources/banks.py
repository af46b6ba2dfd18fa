#!/usr/bin/env python3
"""The table of banks, banks.tsv: the SDK's names and scripts/make-images' logos both come from it.

    banks.py --check     says what the table and the logos in banks/ lack, in one line each
    banks.py --cpp FILE  writes the table's prefixes and names as rows of C++
"""

import re
import sys
from pathlib import Path
from typing import NamedTuple

HERE = Path(__file__).resolve().parent
TABLE = HERE / "banks.tsv"
LOGOS = HERE / "banks"


class Bank(NamedTuple):
    prefixes: list
    name: str
    monogram: str
    colour: str


def read():
    """The banks in the table's order, and what is wrong with them."""
    banks, faults, owners = [], [], {}
    for number, line in enumerate(TABLE.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("#"):
            continue
        cells = line.split("\t")
        where = f"{TABLE.name}:{number}"
        if len(cells) != 4 or not all(cells):
            faults.append(f"{where}: a row is four cells with tabs between: prefixes, name, monogram, colour")
            continue
        bank = Bank(cells[0].split(" "), *cells[1:])
        banks.append(bank)
        faults += [f"{where}: a card prefix is six digits, \"{prefix}\" is not" for prefix in bank.prefixes
                   if not re.fullmatch("[0-9]{6}", prefix)]
        if not re.fullmatch("#[0-9a-f]{6}", bank.colour):
            faults.append(f"{where}: a colour is # and six hexadecimal digits, \"{bank.colour}\" is not")
        if re.search(r'["\\]', bank.name):
            faults.append(f"{where}: a name holds no quote and no backslash")
        for mark in (*bank.prefixes, bank.monogram, bank.colour):
            if mark in owners:
                faults.append(f"{where}: {mark} is taken by {owners[mark]} already")
            owners.setdefault(mark, where)
    return banks, faults


def logo_faults(banks):
    rows = {prefix for bank in banks for prefix in bank.prefixes}
    logos = {logo.stem for logo in LOGOS.glob("*.png")}
    return ([f"banks/{prefix}.png is missing: run scripts/make-images and commit it" for prefix in sorted(rows - logos)]
            + [f"banks/{logo}.png has no row in {TABLE.name}: add one, or delete the file"
               for logo in sorted(logos - rows)])


def main(arguments):
    banks, faults = read()
    if arguments == ["--check"]:
        faults += logo_faults(banks)
    elif len(arguments) != 2 or arguments[0] != "--cpp":
        return __doc__
    if faults:
        return "\n".join(faults)
    if arguments[0] == "--cpp":
        rows = [f'{{u"{prefix}", u"{bank.name}"}},\n' for bank in banks for prefix in bank.prefixes]
        Path(arguments[1]).write_text("".join(rows), encoding="utf-8")
    return None


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
