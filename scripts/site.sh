#!/usr/bin/env bash
# Builds the documentation site, build/site/: the pages of docs/, the README as its first, and what the headers say of each function. Ends with an
# error for a link that leads nowhere.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '== %s\n' "$*"; }
for program in mkdocs doxygen; do
    command -v $program >/dev/null || { echo "site: $program is missing; scripts/setup.sh packages installs it" >&2; exit 1; }
done

say "Collecting the pages"
pages=build/site-pages
rm -rf "$pages" build/site && mkdir -p "$pages/files"
cp -r docs/. "$pages/"
sed -E 's#\]\(docs/#](#g' README.md >"$pages/index.md"
for page in docs/*.md; do
    grep -q ": $(basename "$page")\$" mkdocs.yml || { echo "site: $page stands in no chapter of mkdocs.yml" >&2; exit 1; }
done
# What pages show of the source tree comes along.
for page in "$pages"/*.md; do
    sed -i -E 's#\]\((\.\./)?((examples|include|device_kit)/[^)]*|LICENSE)\)#](files/\2)#g' "$page"
    { grep -oE '\]\(files/[^)]*\)' "$page" || true; } | sed 's#](files/##; s#)$##' | while read -r file; do
        mkdir -p "$pages/files/$(dirname "$file")"
        cp "$file" "$pages/files/$file"
    done
done

say "Reading the headers"
# The headers' comments are plain ones; here they are taken for documentation.
cat >build/site.doxygen <<'END'
PROJECT_NAME = Ocellus
INPUT = include/ocellus
FILE_PATTERNS = *.h *.hpp
OUTPUT_DIRECTORY = build/site-pages
HTML_OUTPUT = api
GENERATE_LATEX = NO
EXTRACT_ALL = YES
JAVADOC_AUTOBRIEF = YES
OPTIMIZE_OUTPUT_FOR_C = YES
FULL_PATH_NAMES = NO
QUIET = YES
WARN_IF_UNDOCUMENTED = NO
HAVE_DOT = NO
SOURCE_BROWSER = NO
VERBATIM_HEADERS = NO
MACRO_EXPANSION = YES
PREDEFINED = WINAPI= __cplusplus
INPUT_FILTER = "sed -E 's,^/\*$,/** @file,; s,^/\* -.*,,; s,^( *)/\* ,\1/** ,; s,([;\,{]) +/\* ,\1 /**< ,; s,^( *)// ([^-]),\1/// \2,; s,([;\,]) +// ,\1 ///< ,'"
END
doxygen build/site.doxygen >build/site-doxygen.log 2>&1 || { cat build/site-doxygen.log >&2; exit 1; }

say "Building the site"
mkdocs build --quiet --config-file mkdocs.yml
scripts/check-links.py build/site
say "It is in $PWD/build/site"
