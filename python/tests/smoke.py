"""Tries a wheel without any other package: smoke.py SAMPLES

It reads every sample file, whatever its encoding, and writes it again. The libraries that a bare Linux lacks must be
the wheel's own. Every Linux that can install it has the C and C++ libraries and zlib.
"""

import json
import math
import sys
import tempfile
from pathlib import Path

import datasrc

NAMES = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}
OWN = ("libicu", "libcrypto", "libdeflate", "libisal")


def expected(samples, name, survey):
    rows = [json.loads(line) for line in (samples / f"{name}.jsonl").read_text(encoding="utf-8").splitlines()]
    kinds = [variable.is_text for variable in survey.variables.values()]
    return [[row[k] if text or row[k] is None else float(NAMES.get(row[k], row[k])) for row in rows]
            for k, text in enumerate(kinds)]


def main(samples):
    with tempfile.TemporaryDirectory() as folder:
        made = Path(folder, "made.quav")
        names = sorted(path.stem for path in samples.glob("*.quav"))
        assert len(names) > 10
        for name in names:
            survey = datasrc.open(samples / f"{name}.quav")
            wanted = repr(expected(samples, name, survey))
            assert repr(list(survey.read().to_pydict().values())) == wanted, name
            datasrc.write(survey, made, compress="zlib")
            assert repr(list(datasrc.open(made).read().to_pydict().values())) == wanted, name
        datasrc.write({"a": [1]}, made, encrypt="secret")
        assert datasrc.open(made, password="secret").rows == 1
    loaded = {line.split()[-1] for line in open("/proc/self/maps") if ".so" in line}
    for library in OWN:
        paths = [path for path in loaded if Path(path).name.startswith(library)]
        assert paths and all("site-packages" in path for path in paths), paths
    print(f"datasrc {datasrc.__version__}: {len(names)} files read and written")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
