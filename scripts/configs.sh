# The build configurations that scripts/test and scripts/update-abi share.
# Usage (sourced): cmake_args CONFIG   prints the CMake arguments of CONFIG
#   native     x86-64 (the build machine), optimised
#   sanitize   x86-64 with AddressSanitizer and UndefinedBehaviorSanitizer
#   ppc        32-bit big-endian PowerPC, cross-built, run under qemu-ppc
#   ppc-abi0   the same with libstdc++'s pre-C++11 ABI, as older line-card
#              hosts are built (_GLIBCXX_USE_CXX11_ABI=0)
cmake_args() {
  local ppc="-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/powerpc-linux-gnu.cmake"
  case $1 in
    native) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo" ;;
    sanitize) echo "-DCMAKE_BUILD_TYPE=Debug -DVORN_SANITIZE=address,undefined" ;;
    ppc) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo $ppc" ;;
    ppc-abi0) echo "-DCMAKE_BUILD_TYPE=RelWithDebInfo $ppc -DVORN_CXX11_ABI=OFF" ;;
    *) echo "unknown configuration $1" >&2; return 1 ;;
  esac
}
