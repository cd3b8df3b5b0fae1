"""The interfaces say what a caller must know.

Doxygen reads the public headers. A class without a word is a fault, as is a function whose parameters leave a question
open, and every comment that doxygen cannot follow. What says all in its name needs none: getters and setters, signals,
constructors, fields, and overrides, which the base class describes.

    test_api_docs.py DOXYGEN DOXYFILE
"""

import re
import subprocess
import sys

_MEMBER = re.compile(r"Member (?P<signature>.*) \((?P<kind>[\w ]+)\) of (?:class|struct|namespace|file) "
                     r"(?P<owner>\S+) is not documented\.")


def needs_no_words(warning):
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
    faults = [line for line in warnings if not needs_no_words(line)]
    print("\n".join(faults))
    if done.returncode != 0:
        print(f"doxygen ended with {done.returncode}")
    print(f"{len(faults)} faults")
    return 1 if faults or done.returncode != 0 else 0


if __name__ == "__main__":
    sys.exit(main())
