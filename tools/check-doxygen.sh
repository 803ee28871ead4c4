#!/bin/bash
# check-doxygen.sh HEADER_LIST: makes the reference of the headers listed, one a line, and fails on any warning. Run in the top
# folder.
set -euo pipefail

mkdir -p build
{
    cat Doxyfile
    echo "INPUT = $(echo *.md Documentation/*.md Documentation/examples/*.cpp) $(tr '\n' ' ' <"$1")"
} | doxygen -
echo "doxygen: no warnings in $(wc -l <"$1") headers; see build/reference/html/index.html."
