# The build configurations that scripts/test and scripts/update-abi share.
# Usage (sourced): cmake_args CONFIG   prints the CMake arguments of CONFIG
#   native     x86-64 (the build machine), optimised
#   sanitize   x86-64 with AddressSanitizer and UndefinedBehaviorSanitizer
#   ppc        32-bit big-endian PowerPC, cross-built, run under qemu-ppc
#   ppc-abi0   the same with libstdc++'s pre-C++11 ABI, as older line-card
#              hosts are built (_GLIBCXX_USE_CXX11_ABI=0)
#   xorp       x86-64 with the sanitizers against the host's real event-loop
#              library, built from ../shared/xorp by scripts/build-xorp: the
#              library, the socket tests and the round trip only
# Sourced, it also gives per configuration (nothing: the whole project):
#   prepare_config CONFIG   builds what CONFIG is configured against
#   config_targets CONFIG   the targets to build
#   config_tests CONFIG     the CTest tests to run (a -R pattern)
cmake_args() {
  local ppc="-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/powerpc-linux-gnu.cmake"
  case $1 in
    native) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo" ;;
    sanitize) echo "-DCMAKE_BUILD_TYPE=Debug -DVORN_SANITIZE=address,undefined" ;;
    ppc) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo $ppc" ;;
    ppc-abi0) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo $ppc -DVORN_CXX11_ABI=OFF" ;;
    xorp) echo "-DCMAKE_BUILD_TYPE=Debug -DVORN_SANITIZE=address,undefined $(bash scripts/build-xorp --args)" ;;
    *) echo "unknown configuration $1" >&2; return 1 ;;
  esac
}

prepare_config() {
  case $1 in
    xorp) bash scripts/build-xorp >/dev/null ;;
  esac
}

config_targets() {
  case $1 in
    xorp) echo "vornlcapi vorn_socket_tests vorn_socket_round_trip vorn_socket_using_std" ;;
  esac
}

config_tests() {
  case $1 in
    xorp) echo "socket|vorn_exports" ;;
  esac
}
