#!/usr/bin/env bash
# Runs the tests that were skipped in a run as root, as a user who owns nothing:
#   skipped-as-user.sh BUILD_FOLDER RESULTS
# One at a time: jobs of one /tmp share a working folder, and root's build counts on one /tmp for each.
# RESULTS is what ctest has written as --output-junit. The exit status is that of ctest, or 0 where no test was skipped.
set -euo pipefail
build=$(realpath "$1")
results=$2

names=$(python3 - "$results" <<'PYTHON'
import re, sys, xml.etree.ElementTree as tree
names = (case.get("name") for case in tree.parse(sys.argv[1]).iter("testcase") if case.get("status") == "notrun")
print("|".join(re.sub(r"([][.*+?^$()|\\])", r"\\\1", name) for name in names))
PYTHON
)
if [[ -z $names ]]; then
    echo "no test was skipped"
    exit 0
fi

# ctest writes its logs beside its list of tests, and the build folder is not the user's.
folder=$(mktemp -d "${TMPDIR:-/tmp}/mero_skipped_XXXXXX")
trap 'rm -rf "$folder"' EXIT
printf 'subdirs("%s")\n' "$build" >"$folder/CTestTestfile.cmake"
mkdir "$folder/home"
chown -R nobody: "$folder"
asUser=(setpriv "--reuid=nobody" "--regid=$(id -g nobody)" --clear-groups)
if ! "${asUser[@]}" test -r "$build/CTestTestfile.cmake"; then
    echo "they stay so: an ordinary user can't read $build"
    exit 0
fi
"${asUser[@]}" env HOME="$folder/home" USER=nobody LOGNAME=nobody \
    ctest --test-dir "$folder" --output-on-failure --no-tests=error -R "^($names)\$"
