"""Runs the Conan recipe with stand-ins for Conan's own modules, up to configuring what it exports.

    conan_recipe.py ROOT FOLDER VERSION [cmake arguments]
"""

import fnmatch
import importlib.util
import os
import shutil
import subprocess
import sys
import types

root, folder, version = sys.argv[1:4]
cmake_arguments = sys.argv[4:]
sys.dont_write_bytecode = True
shutil.rmtree(folder, ignore_errors=True)


class InvalidConfiguration(Exception):
    pass


class Recipe:
    """What ConanFile gives to a recipe."""

    def __init__(self):
        self.recipe_folder = os.path.join(root, "packaging", "conan")
        self.export_sources_folder = os.path.join(folder, "sources")
        self.source_folder = self.export_sources_folder
        self.package_folder = os.path.join(folder, "package")
        self.required = {}
        self.cpp_info = types.SimpleNamespace(
            properties={}, set_property=lambda key, value: self.cpp_info.properties.update({key: value}))

    def requires(self, reference, **traits):
        self.required[reference] = traits


def copy(recipe, pattern, source, destination):
    found = False
    for base, _, names in os.walk(source):
        inside = os.path.relpath(base, source)
        if inside.split(os.sep)[0] in ("build", ".git", ".deps"):
            continue
        for name in names:
            path = os.path.normpath(os.path.join(inside, name))
            if fnmatch.fnmatch(path, pattern):
                found = True
                os.makedirs(os.path.dirname(os.path.join(destination, path)), exist_ok=True)
                shutil.copyfile(os.path.join(source, path), os.path.join(destination, path))
    if not found:
        sys.exit(f"the recipe copies '{pattern}', of which there is nothing")


class CMakeToolchain:
    made = []

    def __init__(self, recipe):
        self.cache_variables = {}
        CMakeToolchain.made.append(self)

    def generate(self):
        pass


class CMakeDeps:
    def __init__(self, recipe):
        pass

    def generate(self):
        pass


class CMake:
    def __init__(self, recipe):
        pass

    def configure(self):
        variables = [f"-D{name}={'ON' if value else 'OFF'}"
                     for name, value in CMakeToolchain.made[0].cache_variables.items()]
        subprocess.run(["cmake", "-S", os.path.join(folder, "sources"), "-B",
                        os.path.join(folder, "build"), *cmake_arguments, *variables], check=True)

    def build(self):
        pass

    def install(self):
        os.makedirs(os.path.join(folder, "package", "lib", "cmake"))


def module(name, **members):
    sys.modules[name] = types.SimpleNamespace(__name__=name, __path__=[], __spec__=None, **members)


module("conan", ConanFile=Recipe)
module("conan.errors", ConanInvalidConfiguration=InvalidConfiguration)
module("conan.tools")
module("conan.tools.build", check_min_cppstd=lambda recipe, standard: None)
module("conan.tools.cmake", CMake=CMake, CMakeDeps=CMakeDeps, CMakeToolchain=CMakeToolchain,
       cmake_layout=lambda recipe: None)
module("conan.tools.files", copy=copy, load=lambda recipe, path: open(path).read(),
       rmdir=lambda recipe, path: os.rmdir(path))

spec = importlib.util.spec_from_file_location(
    "conanfile", os.path.join(root, "packaging", "conan", "conanfile.py"))
conanfile = importlib.util.module_from_spec(spec)
spec.loader.exec_module(conanfile)
recipe = conanfile.KqConan()

recipe.set_version()
assert recipe.version == version, recipe.version
recipe.settings = types.SimpleNamespace(os="Linux", arch="x86_64")
try:
    recipe.validate()
    sys.exit("the recipe takes Linux for a target")
except InvalidConfiguration:
    pass
recipe.settings.os = "Windows"
recipe.validate()
recipe.requirements()
assert list(recipe.required) == ["boost/[>=1.74 <2]"], recipe.required
recipe.layout()
recipe.export_sources()
recipe.generate()
recipe.build()
recipe.package()
assert os.path.exists(os.path.join(folder, "package", "licenses", "LICENSE"))
assert not os.path.exists(os.path.join(folder, "package", "lib", "cmake"))
recipe.package_info()
assert recipe.cpp_info.libs == ["kq"]
assert recipe.cpp_info.properties["cmake_target_name"] == "kq::kq"
print("the recipe is well")
