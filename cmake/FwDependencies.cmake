# The libraries of other makers. Minimum = what Debian 12 has, the oldest that was tried.
# When one is missing, ./run installs it; by hand: apt-get install the packages of packages.txt.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(fmt 9 REQUIRED)
find_package(OpenSSL 3 REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(CLI11 2.1 REQUIRED)
pkg_check_modules(libav REQUIRED IMPORTED_TARGET
    libavformat>=59 libavcodec>=59 libavutil>=57)
pkg_check_modules(zimg REQUIRED IMPORTED_TARGET zimg>=3.0)
pkg_check_modules(systemd REQUIRED IMPORTED_TARGET libsystemd>=252)
if(FW_BUILD_TESTS)
    find_package(GTest 1.12 REQUIRED)
endif()
if(FW_BUILD_BENCHMARKS)
    find_package(benchmark 1.7 REQUIRED)
endif()
