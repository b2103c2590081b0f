# The recipe of the tree that it lies in: `conan create packaging/conan`.
import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load
from conan.tools.system.package_manager import Apt


class ZQFoundationConan(ConanFile):
    name = "zqfoundation"
    description = "Locks, thread pools, clocks, timers, a memory pool and flat system functions over Linux"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    def _tree(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        header = load(self, os.path.join(self._tree(), "Foundation", "include", "ZQFoundation.h"))
        self.version = ".".join(re.findall(r"#define ZQ_VERSION_\w+ (\d+)", header))

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "Foundation/*", "cmake/*"):
            copy(self, pattern, src=self._tree(), dst=self.export_sources_folder)

    def validate(self):
        if self.settings.os != "Linux" or self.settings.arch not in ("x86_64", "armv8"):
            raise ConanInvalidConfiguration("64-bit Arm and x86-64 Linux only")

    def system_requirements(self):
        Apt(self).install(["uuid-dev"], check=True)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["ZQ_BUILD_TESTS"] = False
        toolchain.cache_variables["ZQ_BUILD_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "ZQFoundation")
        self.cpp_info.set_property("cmake_target_name", "ZQFoundation::ZQFoundation")
        self.cpp_info.set_property("pkg_config_name", "ZQFoundation")
        self.cpp_info.includedirs = ["include/ZQFoundation"]
        self.cpp_info.libs = ["ZQFoundation"]
        self.cpp_info.system_libs = ["uuid", "pthread"]
