"""The module as it is built and installed: traps, stubs, and where its libraries are found."""
import ast
import enum
import importlib.metadata
import os
import subprocess
import sys
import textwrap
from pathlib import Path

import pytest
import tallow


def test_package_tells_its_version():
    assert importlib.metadata.version("tallow") == tallow.__version__


def test_verdict_cannot_be_mistaken_for_a_truth_value():
    verdict = tallow.Verdict()
    assert verdict.answer is tallow.Answer.UNPROVEN and str(verdict) == verdict.why()
    for value in (verdict, *tallow.Answer, *tallow.Freshness, *tallow.Authority, *tallow.Signer):
        with pytest.raises(TypeError):
            bool(value)
    with pytest.raises(AttributeError):
        verdict.answer = tallow.Answer.GOOD


class OneSpelling(ast.NodeTransformer):
    """Types in the spelling of the stubs: Optional[X] is X | None, tallow.X is X, a list stands for any sequence."""

    def visit_Subscript(self, node):
        self.generic_visit(node)
        if ast.unparse(node.value) == "Optional":
            return ast.BinOp(node.slice, ast.BitOr(), ast.Constant(None))
        if ast.unparse(node.value) in ("List", "Sequence"):
            node.value = ast.Name("list")
        return node

    def visit_Attribute(self, node):
        return ast.Name(node.attr) if ast.unparse(node.value) in ("tallow", "datetime") else node


def signature(function):
    function.args.args[:1] = [ast.arg(a.arg if a.arg != "arg0" else "self") for a in function.args.args[:1]]
    return f"({ast.unparse(OneSpelling().visit(function.args))}) -> {ast.unparse(OneSpelling().visit(function.returns))}"


def built(member):
    """What the help of a member of the module says about its types."""
    function = member.fget if isinstance(member, property) else getattr(member, "__func__", member)
    first = function.__doc__.strip().split("\n")[0]
    return signature(ast.parse(f"def f{first[first.index('('):]}: ...").body[0])


def test_stubs_match_the_module():
    stubs = ast.parse((Path(tallow.__file__).parent / "__init__.pyi").read_text())
    classes = {node.name: node for node in stubs.body if isinstance(node, ast.ClassDef)}
    assert set(classes) == {name for name, value in vars(tallow).items() if isinstance(value, type)}
    for name, stub in classes.items():
        cls = getattr(tallow, name)
        assert [ast.unparse(base).removeprefix("enum.") for base in stub.bases] in ([], [cls.__base__.__name__])
        if issubclass(cls, enum.Enum):
            assert {a.targets[0].id: a.value.value for a in stub.body if isinstance(a, ast.Assign)} == \
                {member.name: member.value for member in cls}
            continue
        functions = {f.name: signature(f) for f in stub.body if isinstance(f, ast.FunctionDef) and f.name != "__bool__"}
        members = {key: value for key, value in vars(cls).items() if not key.startswith("_") and key != "status" or
                   (key == "status" and isinstance(value, property)) or (key == "__init__" and key in functions)}
        assert functions == {key: built(value) for key, value in members.items()}, name


def test_help_shows_the_documented_coroutine(documented):
    sample, = (block for block in documented["blocks"] if "async def" in block)
    assert textwrap.indent(sample[sample.index("async def"):], "    ") in tallow.Checker.ask.__doc__


def test_installed_package_finds_its_libraries(tmp_path):
    subprocess.run([os.environ["TALLOW_CMAKE"], "--install", os.environ["TALLOW_BUILD_FOLDER"], "--prefix", tmp_path],
                   check=True, stdout=subprocess.DEVNULL, timeout=60)
    package = tmp_path / os.environ["TALLOW_PYTHON_DIR"]
    assert {"__init__.pyi", "py.typed"} < {path.name for path in (package / "tallow").iterdir()}
    environment = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
    loaded = subprocess.run([sys.executable, "-c", "import tallow; print(open('/proc/self/maps').read())"], check=True,
                            env=environment | {"PYTHONPATH": str(package)}, capture_output=True, text=True, timeout=60)
    paths = {line.split()[-1] for line in loaded.stdout.splitlines() if "tallow" in line}
    assert len(paths) == 3 and all(path.startswith(str(tmp_path)) for path in paths), paths
