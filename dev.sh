#!/usr/bin/env bash
# Set-up, build and run for a fresh Debian machine.
#   ./dev.sh run    install what is missing, build, and run the main job
#   ./dev.sh test   install what is missing, build, and run every test
# BUILD_DIR (default: build) chooses the build directory; JOBS the parallel jobs.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=${BUILD_DIR:-$here/build}
jobs=${JOBS:-$(nproc 2>/dev/null || echo 2)}

packages=(cmake ninja-build g++ make pkg-config qtbase5-dev qtbase5-dev-tools libqt5xml5
          libqt5svg5-dev fonts-dejavu-core libbenchmark-dev clang libclang-rt-14-dev)

install_missing() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "missing packages: ${missing[*]} (run as root, or install them with apt-get)" >&2
        exit 1
    fi
    echo "installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

configure() {
    cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIRREL_BUILD_BENCH=ON "$@"
}

configure_and_build() {
    configure "$@"
    cmake --build "$build" -j "$jobs"
}

cmd=${1:-}
shift || true
case "$cmd" in
    run)
        install_missing
        configure
        # The main job needs the tool and the library it links, not the tests and benchmarks.
        cmake --build "$build" -j "$jobs" --target tirrel-cli
        "$here/examples/run-main-job.sh" "$build" "$@"
        ;;
    test)
        install_missing
        configure_and_build
        export QT_QPA_PLATFORM=offscreen
        (cd "$build" && ctest --output-on-failure -j "$jobs")
        # The same suite again under AddressSanitizer, UndefinedBehaviorSanitizer and
        # LeakSanitizer; any report fails the run.
        build="${BUILD_DIR:-$here/build}-sanitize" configure_and_build -DTIRREL_SANITIZE=ON \
            -DTIRREL_BUILD_EXAMPLES=OFF
        # intercept_tls_get_addr=0: the LeakSanitizer of GCC 12 crashes ("Tracer caught signal
        # 11") walking the thread-local blocks of libjpeg, which Qt's PDF writer loads through
        # its JPEG image plug-in (tirrel page render -o x.pdf).
        export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:intercept_tls_get_addr=0
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        export LSAN_OPTIONS=suppressions=$here/tests/lsan.supp:print_suppressions=0
        (cd "${BUILD_DIR:-$here/build}-sanitize" && ctest --output-on-failure -j "$jobs")
        ;;
    *)
        echo "usage: $0 run|test" >&2
        exit 2
        ;;
esac
