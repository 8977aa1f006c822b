#!/usr/bin/env bash
# The HTML reference is made without a warning and tells every exported function: reference_test.sh SOURCE_FOLDER
# Wants Doxygen.
set -euo pipefail
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

{
    cat docs/doxygen/Doxyfile
    echo "OUTPUT_DIRECTORY = $scratch"
} | doxygen - # ends with a failure where it warns

missing=0
while read -r name; do
    grep -qF "</a></span>$name()</h2>" "$scratch"/reference/group__*.html || {
        echo "the reference does not tell of $name"
        missing=$((missing + 1))
    }
done < <(sed -n 's/^\([A-Za-z]\w*\) [0-9]*$/\1/p' cmake/exports.txt)
((missing == 0))
