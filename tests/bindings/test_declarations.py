"""Checks what the bindings say of the library against its header: every function with its types, the
numbers and texts, the sizes of records, the version."""

import ctypes
import os
import pathlib
import re
import sys
import unittest

SOURCE = pathlib.Path(os.environ["CQ_SOURCE"])
sys.path.insert(0, str(SOURCE / "bindings/python"))

import cqapi  # noqa: E402
from cqapi import _library, _records  # noqa: E402


def read(*names):
    return "\n".join((SOURCE / name).read_text(encoding="utf-8") for name in names)


HEADER = read("include/cqapi/CQApi.h")
CODE = re.sub(r"/\*.*?\*/", "", HEADER, flags=re.DOTALL)
CPP = read("include/cqapi/CQApi.hpp", "include/cqapi/Color.hpp", "include/cqapi/Error.hpp")
CSHARP = read(*(path.relative_to(SOURCE)
                for path in sorted((SOURCE / "bindings/csharp").glob("*.cs"))))

# Of each type in the header: what it is in Python, and what it may be in C#.
RECORDS = {
    "CqDeviceInfo": "DeviceInfo", "CqInstrumentStatus": "InstrumentStatus",
    "CqWhiteBoardParameter": "WhiteBoardParameter", "ColorData": "ColorData",
    "CqColorDifference": "ColorDifference",
}
TYPES = {
    "void": (None, {"void"}),
    "bool": (ctypes.c_bool, {"bool"}),
    "uint8_t": (ctypes.c_uint8, {"byte"}),
    "uint32_t": (ctypes.c_uint32, {"uint"}),
    "int32_t": (ctypes.c_int32, {"int"}),
    "void*": (ctypes.c_void_p, {"IntPtr"}),
    "CqHandle": (ctypes.c_void_p, {"InstrumentHandle", "IntPtr"}),
    "CqHandle*": (ctypes.POINTER(ctypes.c_void_p), {"out InstrumentHandle"}),
    "const char*": (ctypes.c_char_p, {"string", "IntPtr"}),
    "char*": (ctypes.c_char_p, {"byte[]"}),
    "const float*": (ctypes.POINTER(ctypes.c_float), {"float[]"}),
    "float*": (ctypes.POINTER(ctypes.c_float), {"out float"}),
    "bool*": (ctypes.POINTER(ctypes.c_bool), {"out bool"}),
    "uint32_t*": (ctypes.POINTER(ctypes.c_uint32), {"out uint"}),
    "CqBleSlave**": (ctypes.POINTER(ctypes.POINTER(_records.BleSlave)), {"out IntPtr"}),
    "CqMeasurementResultReceived": (_library.Callback, {"MeasurementResultReceived"}),
    "CqMeasurementRecord*": (ctypes.POINTER(_records.MeasurementRecord), {"byte[]"}),
    **{f"{c}*": (ctypes.POINTER(getattr(_records, name)), {f"out {name}", f"ref {name}"})
       for c, name in RECORDS.items()},
}


def prototypes(text, pattern):
    """Of each function its result and the types of its parameters, as they are written."""
    found = {}
    for result, name, parameters in re.findall(pattern, text):
        parameters = re.sub(r"\[(In|Out|In, Out|MarshalAs[^\]]*)\]", "", parameters)
        types = [" ".join(parameter.split()[:-1]) for parameter in parameters.split(",")
                 if parameter != "void"]
        found[name] = (result, *filter(None, types))
    return found


IN_HEADER = prototypes(CODE, r"CQ_API\s+((?:const )?[\w*]+)\s+(cq\w+)\(([^)]*)\)")
IN_CSHARP = prototypes(CSHARP, r"static extern (\w+) (cq\w+)\(((?:[^()]|\([^)]*\))*)\)")


def type_of(written):
    return TYPES.get(written) or TYPES[written.replace("const ", "")]


def numbers(text, enum):
    """An enumeration's constants, their names without the differences of spelling."""
    body = re.search(r"\benum (?:class )?" + enum + r"\b[^{]*\{(.*?)\}", text, re.DOTALL)[1]
    body = re.sub(r"//.*|/\*.*?\*/", "", body)
    return {re.sub("_", "", name).lower(): int(value)
            for name, value in re.findall(r"(\w+)\s*=\s*(\d+)", body)}


class Declarations(unittest.TestCase):
    def test_each_function_is_there_with_its_types(self):
        self.assertEqual(len(IN_HEADER), 41)
        self.assertEqual(set(_library.PROTOTYPES), set(IN_HEADER))
        self.assertEqual(set(IN_CSHARP), set(IN_HEADER))
        for name, written in IN_HEADER.items():
            with self.subTest(name):
                right = [type_of(each) for each in written]
                self.assertEqual(list(_library.PROTOTYPES[name]), [python for python, _ in right])
                self.assertEqual(len(IN_CSHARP[name]), len(right))
                for csharp, (_, allowed) in zip(IN_CSHARP[name], right):
                    self.assertIn(csharp, allowed)
                self.assertRegex(CPP, rf"\b{name}\b")

    def test_csharp_widths_and_conventions(self):
        """A bool of the library is one byte, where C# would take four; it calls as C does. The
        working folder is not searched."""
        self.assertRegex(CSHARP, r"\[assembly: DefaultDllImportSearchPaths\(\s*DllImportSearchPath\."
                                 r"AssemblyDirectory \| DllImportSearchPath\.SafeDirectories\)\]")
        declared = re.findall(r"\[DllImport\((.*?)\)\]\s*(\[return[^\n]*\])?\s*"
                              r"internal static extern (\w+)", CSHARP, re.DOTALL)
        self.assertEqual(len(declared), len(IN_HEADER))
        for options, result_attribute, result in declared:
            self.assertIn("CallingConvention.Cdecl", options)
            self.assertEqual(result == "bool",
                             result_attribute == "[return: MarshalAs(UnmanagedType.I1)]")

    def test_numbers(self):
        for enum, python, prefix in (
            ("CqResult", cqapi.ResultCode, "cq"),
            ("ColorSpace", cqapi.ColorSpace, "colorspace"),
            ("Illuminant", cqapi.Illuminant, "illuminant"),
            ("Observer", cqapi.Observer, "observer"),
            ("CqDifferenceFormula", cqapi.DifferenceFormula, "cq"),
            ("CqColorIndex", cqapi.ColorIndex, "cq"),
            ("CqStrengthMethod", cqapi.StrengthMethod, "cqstrength"),
            ("CqMetamerismCorrection", cqapi.MetamerismCorrection, "cqmetamerism"),
            ("CqGreyScale", cqapi.GreyScale, "cqgreyscale"),
        ):
            with self.subTest(enum):
                right = {name[len(prefix):]: value for name, value in numbers(HEADER, enum).items()}
                self.assertGreaterEqual(len(right), 2)
                if enum == "Observer":  # a name cannot begin with a digit
                    right = {re.sub(r"(\d+)(degree)", r"\2\1", name): value
                             for name, value in right.items()}
                self.assertEqual(
                    {name.lower().replace("_", ""): value.value
                     for name, value in python.__members__.items()}, right)
                csharp = "ResultCode" if enum == "CqResult" else enum.removeprefix("Cq")
                self.assertEqual(numbers(CSHARP, csharp), right)

    def test_texts_of_result_codes(self):
        right = re.findall(r"CQ_\w+ = \d+,?\s*/\*\*< \"([^\"]+)\"", HEADER)
        self.assertEqual(len(right), 20)
        right_and_beyond = [*right, "unknown error"]
        self.assertEqual([cqapi.result_text(code) for code in range(21)], right_and_beyond)

    def test_sizes_of_records(self):
        sizes = re.findall(r"CQ_CHECK_SIZE\((?:Cq)?(\w+), (\d+)\)", HEADER)
        self.assertEqual(len(sizes), 7)
        for name, size in sizes:
            self.assertEqual(ctypes.sizeof(getattr(_records, name)), int(size), name)

    def test_version(self):
        version = re.search(r'CQAPI_VERSION_STRING "([^"]+)"', HEADER)[1]
        self.assertEqual(cqapi.__version__, version)
        self.assertIn(f'AssemblyVersion("{version}.0")', CSHARP)


if __name__ == "__main__":
    unittest.main()
