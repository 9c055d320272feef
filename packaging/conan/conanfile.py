"""The Conan recipe of kq, which packages the sources that it lies in.

    conan create packaging/conan

Conan 2; the profile of the host has to be 64-bit Windows.
"""

import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rmdir

# Everything that a build without tests reads.
SOURCES = ("CMakeLists.txt", "LICENSE", "cmake/*", "include/*", "src/*", "debugger/*")


class KqConan(ConanFile):
    name = "kq"
    description = "Jobs, progress, error reporting and Windows services for desktop applications"
    license = "BSL-1.0"
    topics = ("threads", "jobs", "progress", "windows", "desktop")
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    @property
    def _root(self):
        return os.path.join(self.recipe_folder, os.pardir, os.pardir)

    def set_version(self):
        header = load(self, os.path.join(self._root, "include", "kq", "version.h"))
        numbers = re.findall(r"#define KQ_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header)
        self.version = ".".join(numbers)

    def export_sources(self):
        for pattern in SOURCES:
            copy(self, pattern, self._root, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        if self.settings.os != "Windows" or self.settings.arch != "x86_64":
            raise ConanInvalidConfiguration("kq is a library for 64-bit Windows")
        check_min_cppstd(self, 17)

    def requirements(self):
        # The headers of kq include those of Boost.
        self.requires("boost/[>=1.74 <2]", transitive_headers=True, transitive_libs=True)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        for part in ("TESTS", "BENCHMARKS", "EXAMPLES"):
            toolchain.cache_variables[f"KQ_BUILD_{part}"] = False
        toolchain.cache_variables["KQ_INSTALL"] = True
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        # Consumers get the package's configuration from their own generators.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))

    def package_info(self):
        self.cpp_info.libs = ["kq"]
        self.cpp_info.set_property("cmake_file_name", "kq")
        self.cpp_info.set_property("cmake_target_name", "kq::kq")
        self.cpp_info.requires = ["boost::headers", "boost::filesystem"]
