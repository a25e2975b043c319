# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Docstrings in NumPy's style: every public function has its sections, and the examples do what they show."""
from __future__ import annotations

import doctest
import enum
import inspect

import numpy as np
import pytest

import vexacamutl as vcu

FUNCTIONS = {name: value for name in vcu.__all__ if inspect.isfunction(value := getattr(vcu, name))}
FUNCTIONS["NamedConverter.__call__"] = vcu.NamedConverter.__call__
FUNCTIONS["Converter.__call__"] = vcu.Converter.__call__
PUBLIC = {name: getattr(vcu, name) for name in vcu.__all__}


def sections(text: str) -> dict[str, str]:
    """Titles that are underlined, with the text below each."""
    lines = inspect.cleandoc(text).splitlines()
    starts = [i for i in range(len(lines) - 1) if lines[i] and lines[i + 1] == "-" * len(lines[i])]
    return {lines[i]: "\n".join(lines[i + 2 : j]) for i, j in zip(starts, [*starts[1:], len(lines)])}


@pytest.mark.parametrize("name", FUNCTIONS)
def test_sections(name):
    function = FUNCTIONS[name]
    found = sections(function.__doc__)
    signature = inspect.signature(function)
    parameters = [parameter for parameter in signature.parameters if parameter != "self"]
    if parameters:
        described = [word.strip() for line in found["Parameters"].splitlines() if not line.startswith(" ")
                     for word in line.split(" : ")[0].split(",")]
        assert described == parameters
    assert ("Returns" in found) == (signature.return_annotation != "None")
    assert "Raises" in found or not parameters
    assert ">>> " in found["Examples"]


def test_everything_public_is_described():
    for name, value in PUBLIC.items():
        if inspect.isclass(value):
            assert value.__doc__, name
            for part, member in vars(value).items():
                if not part.startswith("_") and (inspect.isfunction(member) or isinstance(member, property)):
                    assert member.__doc__ or issubclass(value, enum.Enum), f"{name}.{part}"


@pytest.mark.parametrize("name", [*FUNCTIONS, "NamedConverter", "Converter", "Layout"])
def test_examples(name, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    value = FUNCTIONS.get(name) or PUBLIC[name]
    parser = doctest.DocTestParser()
    test = parser.get_doctest(value.__doc__, {"np": np, "vcu": vcu}, name, None, 0)
    assert test.examples
    report: list[str] = []
    result = doctest.DocTestRunner(optionflags=doctest.REPORT_NDIFF).run(test, out=report.append)
    assert result.failed == 0, "".join(report)
