# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The SPDX document that configuring writes, read back: tags, checksums, relationships."""
import hashlib
import re
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="module")
def text(tmp_path_factory):
    build = tmp_path_factory.mktemp("build")
    subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja"], check=True, stdout=subprocess.DEVNULL)
    return (build / "vexacamutl.spdx").read_text("ascii")


def values(text, tag):
    return re.findall(rf"^{tag}: (.*)$", text, re.MULTILINE)


def test_header(text):
    assert text.startswith("SPDXVersion: SPDX-2.3\nDataLicense: CC0-1.0\nSPDXID: SPDXRef-DOCUMENT\n")
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", *values(text, "Created"))


def test_files(text):
    """Every compiled source and header, with the sums that Python computes, and the code over all of them."""
    names = values(text, "FileName")
    contents = [(ROOT / name).read_bytes() for name in names]
    sha1 = [hashlib.sha1(content).hexdigest() for content in contents]
    assert values(text, "FileChecksum: SHA1") == sha1
    assert values(text, "FileChecksum: SHA256") == [hashlib.sha256(content).hexdigest() for content in contents]
    assert values(text, "PackageVerificationCode") == [hashlib.sha1("".join(sorted(sha1)).encode()).hexdigest()]
    shipped = {f"./{path.relative_to(ROOT)}" for folder in ("src", "include")
               for path in (ROOT / folder).rglob("*") if path.suffix in (".cpp", ".h")}
    processors = re.compile(r"/(Isa|Vector)?(Neon|Wasm|Sse|Avx\w*|X86)\b")
    assert {name for name in shipped - set(names) if not processors.search(name)} == set()


def test_packages(text):
    """What is compiled in or linked to, with a version and a licence each."""
    packages = dict(zip(values(text, "PackageName"), values(text, "PackageVersion")))
    assert {"vexacamutl", "CLI11", "libpng", "libdeflate", "libisal", "libjpeg-turbo", "libtiff", "libstdcxx"} <= set(packages)
    assert all(re.match(r"\d+\.\d+", version) for version in packages.values()), packages
    assert len(values(text, "PackageLicenseConcluded")) == len(packages)


def test_relationships(text):
    defined = values(text, "SPDXID")
    assert len(set(defined)) == len(defined)
    related = values(text, "Relationship")
    assert len(related) == len(values(text, "PackageName"))
    for relationship in related:
        first, _, second = relationship.split()
        assert {first, second} <= set(defined)
