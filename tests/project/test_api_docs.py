"""Checks that the public interfaces are documented.

Doxygen reads the public headers. Faults are classes without documentation, functions with undocumented parameters, and
comments that doxygen cannot parse. Getters, setters, signals, constructors, fields and overrides need no documentation.

    test_api_docs.py DOXYGEN DOXYFILE
"""

import re
import subprocess
import sys

_MEMBER = re.compile(r"Member (?P<signature>.*) \((?P<kind>[\w ]+)\) of (?:class|struct|namespace|file) "
                     r"(?P<owner>\S+) is not documented\.")


def needs_no_documentation(warning):
    found = _MEMBER.search(warning)
    if not found:
        return False
    signature, owner = found["signature"], found["owner"].split("::")[-1]
    name, _, rest = signature.partition("(")
    return (found["kind"] in ("signal", "variable", "enumvalue") or name in (owner, "~" + owner)
            or re.search(r"\) *(const)? *(noexcept)? *override\b", signature) is not None or rest.startswith(")")
            or (re.match(r"set[A-Z]", name) is not None and "," not in rest))


def main():
    done = subprocess.run(sys.argv[1:3], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    warnings = [line for line in done.stderr.splitlines() if re.search(r"\b(warning|error):", line)]
    faults = [line for line in warnings if not needs_no_documentation(line)]
    print("\n".join(faults))
    if done.returncode != 0:
        print(f"doxygen ended with {done.returncode}")
    print(f"{len(faults)} faults")
    return 1 if faults or done.returncode != 0 else 0


if __name__ == "__main__":
    sys.exit(main())
