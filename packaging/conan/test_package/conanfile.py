"""Builds and runs the consumer project of tests/package against the package."""

import pathlib

from conan import ConanFile
from conan.tools.build import can_run
from conan.tools.cmake import CMake


class Q9UtilTestConan(ConanFile):
    settings = "os", "arch", "compiler", "build_type"
    generators = "CMakeDeps", "CMakeToolchain"

    def requirements(self):
        self.requires(self.tested_reference_str)

    def build(self):
        cmake = CMake(self)
        cmake.configure(build_script_folder=str(pathlib.Path(self.recipe_folder).parents[2] / "tests" / "package"))
        cmake.build()

    def test(self):
        if can_run(self):
            self.run("./consumer", env="conanrun")
