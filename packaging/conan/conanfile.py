"""Recipe for Conan 2, used from a checkout: conan create packaging/conan."""

import pathlib
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class Q9UtilConan(ConanFile):
    name = "q9util"
    description = "Utility library of a family of printer drivers"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    @property
    def _root(self):
        return pathlib.Path(self.recipe_folder).parents[1]

    def set_version(self):
        text = (self._root / "CMakeLists.txt").read_text()
        self.version = re.search(r"project\(q9util VERSION ([0-9.]+)", text).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "cmake/*", "src/*", "tools/lint/floors.txt", "tools/debugger/*", "LICENSE",
                        "THIRD_PARTY.md"):
            copy(self, pattern, src=str(self._root), dst=self.export_sources_folder)

    def validate(self):
        if self.settings.compiler not in ("gcc", "clang"):
            raise ConanInvalidConfiguration("exports C++ classes: one compiler family (gcc or clang) on both sides")

    def requirements(self):
        if self.settings.os == "Linux":
            self.requires("zlib/[>=1.2.13]")
            self.requires("sqlite3/[>=3.40]")
            self.requires("openssl/[>=3.0 <4]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        for option in ("Q9_BUILD_TESTS", "Q9_BUILD_TOOLS", "Q9_USE_CCACHE", "Q9_WARNINGS_AS_ERRORS"):
            toolchain.cache_variables[option] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", src=self.source_folder, dst=str(pathlib.Path(self.package_folder) / "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "q9util")
        self.cpp_info.set_property("cmake_target_name", "q9util::q9util")
        self.cpp_info.set_property("pkg_config_name", "q9util")
        self.cpp_info.includedirs = ["include/q9util"]
        self.cpp_info.libs = ["q9util073"]
