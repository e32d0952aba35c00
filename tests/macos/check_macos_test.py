"""Plants mistakes in a small source for macOS and expects the two checks to see each, and nothing else.

usage: check_macos_test.py <folder of the checks>
"""
import importlib.machinery
import importlib.util
import os
import pathlib
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(SCRIPTS))


def load(name):
    loader = importlib.machinery.SourceFileLoader(name.replace("-", "_"), str(SCRIPTS / name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


sys.dont_write_bytecode = True
macos_sources = load("macos_sources.py")
check_macos = load("check-macos")
macos_symbols = load("macos-symbols")

MARKS = (macos_sources.ROOT / macos_sources.DECLARATIONS / "Since.h").read_text()
DECLARED = """#pragma once
#include <Since.h>
#define kBark "Bark"  // SINCE(10.0, "kBark")
typedef int Tail SINCE(10.1, "Tail");
SINCE(10.0, "NSObject")
__attribute__((objc_root_class)) @interface NSObject
+ (instancetype)new SINCE(10.0, "new");
@end
SINCE(10.2, "Dog")
@interface Dog : NSObject
- (void)wag:(Tail)tail SINCE(10.3, "wag:");
@property int age SINCE(10.4, "age");
@end
"""
SOUND = """#import <Zoo/Zoo.h>
#include <string>
const char* bark() {
  Dog* dog = [Dog new];
  [dog wag:2];
  dog.age = 3;
  return kBark;
}
"""


class CheckMacos(unittest.TestCase):
    def look(self, source=SOUND, declared=DECLARED, c_library=""):
        """What the compiler says, and the offences in what is used."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            for name, text in {"src/platform/macos/Zoo.mm": source, "tests/macos/include/Zoo/Zoo.h": declared,
                               "tests/macos/include/Since.h": MARKS, "tests/macos/c-library.txt": c_library}.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text)
            (source,) = macos_sources.sources(root)
            _, sound, said = check_macos.check(source, macos_sources.arguments(root))
            if not sound:
                return said, None, None
            findings = macos_symbols.look_at_all(root)
            return said, macos_symbols.offences(findings, root), findings

    def does_not_compile(self, source, says, declared=DECLARED):
        said, found, _ = self.look(source, declared)
        self.assertIsNone(found, "it compiled")
        self.assertIn(says, said)

    def offends(self, says, **changed):
        _, found, _ = self.look(**changed)
        self.assertEqual(len(found), 1, found)
        self.assertIn(says, found[0])

    def test_a_sound_source_passes_and_its_symbols_are_listed(self):
        said, found, findings = self.look()
        self.assertEqual((said, found), ("", []))
        listed = {name: symbol[1] for name, symbol in findings.symbols.items()}
        self.assertEqual(listed, {"+[NSObject new]": "10.0", "-[Dog wag:]": "10.3", "Dog": "10.2", "Dog.age": "10.4", "kBark": "10.0"})
        self.assertIn("| `-[Dog wag:]` | `Zoo/Zoo.h` | 10.3 | wag: | `Zoo.mm` |", macos_symbols.table(findings))

    def test_what_is_not_declared(self):
        self.does_not_compile(SOUND.replace("wag:2", "growl:2"), "declares the selector 'growl:'")
        self.does_not_compile(SOUND.replace("kBark", "kMeow"), "undeclared identifier 'kMeow'")

    def test_warnings(self):
        self.does_not_compile(SOUND.replace("return kBark", "int unused; return kBark"), "unused variable")

    def test_what_is_newer_than_the_deployment_target(self):
        newer = DECLARED.replace("10.3", "14.2")
        self.does_not_compile(SOUND, "is only available on macOS 14.2 or newer", newer)
        asked = SOUND.replace("[dog wag:2];", "if (@available(macOS 14.2, *)) [dog wag:2];")
        self.assertEqual(self.look(asked, newer)[:2], ("", []))

    def test_macros_which_the_compiler_does_not_date(self):
        self.offends("kBark is newer", declared=DECLARED.replace('10.0, "kBark"', '13.1, "kBark"'))

    def test_a_declaration_without_a_mark(self):
        self.offends("-[Dog wag:] bears no mark", declared=DECLARED.replace('(Tail)tail SINCE(10.3, "wag:")', "(Tail)tail"))

    def test_declarations_that_nobody_uses(self):
        self.offends("nobody uses Cat", declared=DECLARED + 'SINCE(10.0, "Cat")\n@interface Cat : NSObject\n@end\n')
        self.offends("nobody uses meow", declared=DECLARED + 'void meow(void) SINCE(10.0, "meow");\n')

    def test_methods_that_the_system_calls(self):
        declared = DECLARED + 'SINCE(10.5, "DogOwner")\n@protocol DogOwner\n- (void)dogDidBark SINCE(10.6, "dogDidBark()");\n@end\n'
        owner = "@interface Owner : NSObject <DogOwner>\n@end\n@implementation Owner\n%s@end\n"
        _, found, findings = self.look(SOUND + owner % "- (void)dogDidBark {\n}\n", declared)
        self.assertEqual(found, [])
        self.assertEqual(findings.symbols["-[DogOwner dogDidBark]"][1], "10.6")
        self.offends("nobody uses -[DogOwner dogDidBark]", source=SOUND + owner % "", declared=declared.replace("DogOwner\n-", "DogOwner\n@optional\n-"))

    def returning(self, what, header):
        return SOUND.replace("return kBark", "return " + what).replace("<string>", header)

    def test_what_only_linux_has(self):
        self.does_not_compile(self.returning("::accept4(0, nullptr, nullptr, 0) ? nullptr : kBark", "<sys/socket.h>"), "'accept4'")
        self.does_not_compile(self.returning("kBark", "<sys/eventfd.h>"), "Linux only")

    def test_what_the_library_of_the_deployment_target_lacks(self):
        self.does_not_compile(self.returning("std::to_chars(nullptr, nullptr, 1.5).ptr", "<charconv>"), "'to_chars' is unavailable")

    def test_functions_of_the_c_library(self):
        calls = self.returning("::listen(0, 0) ? nullptr : kBark", "<sys/socket.h>")
        self.offends("listen is not in", source=calls)
        self.assertEqual(self.look(calls, c_library="listen(2)\n")[1], [])
        self.offends("nobody uses poll", c_library="poll(2)\n")


if __name__ == "__main__":
    os.chdir(SCRIPTS)
    unittest.main()
