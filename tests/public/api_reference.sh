#!/usr/bin/env bash
# Makes the reference of the public headers, which has to go without a warning. Then holds the names
# that the headers put beside the enumerators to those that the library gives.
#
#     api_reference.sh DOXYGEN DOXYFILE SOURCE_FOLDER
set -euo pipefail
doxygen=$1
doxyfile=$2
values=$3/mvx/morvantic/scriptvalues

rm -rf "$(dirname "$doxyfile")/api"
"$doxygen" "$doxyfile"
diff -u --label headers <(sed -n 's|.* ///< \(".*"\)$|\1|p' "$values.h") \
        --label library <(sed -n 's|^    \(".*"\),$|\1|p' "$values.cpp" | grep -v '"Placeholder"')
