#!/usr/bin/env bash
# Runs the tests on a library that counts what is run, and tells how much of it was; docs/reliability.md names what was not.
#   coverage.sh     fails below 95 % of the lines and 85 % of the branches
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh coverage
# Not optimised and without assertions of the compiler about branches, so that lines and branches are those of the source.
cmake --preset release -B build/coverage -DCMAKE_BUILD_TYPE=Debug -DZQ_PROBES=OFF \
      -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" >/dev/null
cmake --build build/coverage --target zq_tests zq_zones
find build/coverage -name '*.gcda' -delete
# The tests that see the library from outside say how it is packed, and build it anew for that.
ZQTESTS_COUNTED=1 ctest --test-dir build/coverage --output-on-failure -j 4 -E '^(packaging|tools|page)[.]|^zq' >build/coverage/tests.log ||
    { tail -40 build/coverage/tests.log; exit 1; }
# A call that may throw has a branch for the compiler's own clean-up; those cannot be told from one another in the source.
gcovr --root . --filter Foundation/ --exclude-throw-branches --exclude-unreachable-branches --print-summary \
      --txt build/coverage/report.txt --html-details build/coverage/report.html \
      --fail-under-line 95 --fail-under-branch 85 build/coverage
