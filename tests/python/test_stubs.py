# SPDX-License-Identifier: MIT
"""The type stubs describe the module, and every name of the module has a docstring."""

import ast
import os
import re
import unittest

import sonrel

STUBS = os.path.join(os.path.dirname(sonrel.__file__), "__init__.pyi")
SPECIAL = {"__init__", "__len__", "__enter__", "__exit__"}


def is_public(name):
    return not name.startswith("_") or name in SPECIAL


def arguments_of(function):
    """Name, kind and default of each argument of a definition, without the object itself."""
    found = function.args
    plain = found.posonlyargs + found.args
    defaults = [None] * (len(plain) - len(found.defaults)) + found.defaults
    pairs = [(argument.arg, "plain", default) for argument, default in zip(plain, defaults)]
    pairs += [(argument.arg, "keyword", default)
              for argument, default in zip(found.kwonlyargs, found.kw_defaults)]
    return [(name, kind, None if default is None else ast.unparse(default))
            for name, kind, default in pairs if name != "self"]


def signature_of(callable_object):
    """The arguments in the docstring of a function of the module."""
    line = callable_object.__doc__.splitlines()[0]
    line = re.sub(r"-> .*$", "", line)
    return arguments_of(ast.parse(f"def {line}: pass").body[0])


def names_of_class(node):
    """The public members that a stub declares, with their definitions."""
    return {item.name: item for item in node.body
            if isinstance(item, ast.FunctionDef) and is_public(item.name)}


class Stubs(unittest.TestCase):
    def setUp(self):
        with open(STUBS, encoding="utf-8") as file:
            self.tree = ast.parse(file.read())
        self.classes = {node.name: node for node in self.tree.body
                        if isinstance(node, ast.ClassDef) and is_public(node.name)}
        self.functions = {node.name: node for node in self.tree.body
                          if isinstance(node, ast.FunctionDef)}

    def test_names_are_those_of_the_module(self):
        declared = set(self.classes) | set(self.functions) | {"__version__"}
        self.assertEqual(declared, set(sonrel.__all__))
        exported = {name for name in dir(sonrel._sonrel) if not name.startswith("_")}
        self.assertEqual(exported | {"__version__"}, set(sonrel.__all__))

    def test_members_are_those_of_the_classes(self):
        for name, node in self.classes.items():
            members = {member for member in vars(getattr(sonrel, name)) if is_public(member)}
            if issubclass(getattr(sonrel, name), Exception):
                members.clear()
            # The constructor of a class without constructors refuses every call.
            members -= {"__init__"} - set(names_of_class(node))
            self.assertEqual(set(names_of_class(node)), members, name)

    def test_properties_are_properties(self):
        for name, node in self.classes.items():
            for member, item in names_of_class(node).items():
                declared = any(isinstance(mark, (ast.Name, ast.Attribute))
                               for mark in item.decorator_list)
                actual = isinstance(vars(getattr(sonrel, name))[member], property)
                self.assertEqual(declared, actual, f"{name}.{member}")

    def test_arguments_are_those_of_the_functions(self):
        checked = 0
        definitions = [(name, getattr(sonrel, name), node)
                       for name, node in self.functions.items()]
        for name, node in self.classes.items():
            definitions += [(f"{name}.{member}", getattr(getattr(sonrel, name), member), item)
                            for member, item in names_of_class(node).items()
                            if not item.decorator_list and member not in SPECIAL - {"__init__"}]
        for name, actual, item in definitions:
            self.assertEqual(arguments_of(item), signature_of(actual), name)
            checked += 1
        self.assertGreater(checked, 15)

    def test_everything_has_a_docstring(self):
        for name in set(sonrel.__all__) - {"__version__"}:
            value = getattr(sonrel, name)
            self.assertTrue(value.__doc__, name)
            for member, item in (vars(value) if isinstance(value, type) else {}).items():
                if not member.startswith("_"):
                    self.assertTrue(item.__doc__, f"{name}.{member}")

    def test_version_is_that_of_the_program(self):
        self.assertRegex(sonrel.__version__, r"^\d+\.\d+\.\d+$")


if __name__ == "__main__":
    unittest.main()
