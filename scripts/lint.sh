#!/usr/bin/env bash
# Format, layers, names, the share of tests, then clang-tidy. `lint.sh quick` leaves clang-tidy out.
set -uo pipefail
cd "$(dirname "$0")/.."
failed=0
fail() { printf 'LINT %s\n' "$*"; failed=1; }
found() { sed -n '1,50p' | grep .; } # prints what it reads, if it is not too long; true if that is anything
sources() { git ls-files --cached --others --exclude-standard -- "$@" | grep -E '\.(h|cpp)$'; }

echo "== format"
sources src include tools gstreamer examples tests fuzz bench | { xargs clang-format --dry-run -Werror 2>&1 || true; } |
    { grep -E 'error:' || true; } | found && fail "run ./dev format"

echo "== layers"
refuse() # TEXT PATTERN PATH...: lines with PATTERN in the sources of PATH, but those that match ALLOWED
{
    sources "${@:3}" | xargs -r grep -nE "$2" /dev/null | grep -vE "${ALLOWED:-^$}" && fail "$1"
}
# From the lowest up. A folder may include itself and those of the lines below it.
below=larkmoor
while read -r layer; do
    for folder in $layer; do
        ALLOWED="\"($folder|$below)/" refuse "$folder includes what is not below it" '^#include "[a-z0-9_]+/' "src/$folder"
    done
    below+="|${layer// /|}"
done <<'LAYERS'
platform
runtime
device
http
transport
parsers
channels audio ptz io discovery
plugin
LAYERS
ALLOWED='^src/platform/(posix|win32)/|<system_error>' refuse "a system header above the platform" \
    '^#include <(sys/|netinet/|arpa/|curl/|openssl/|linux/|pthread|unistd|poll|fcntl|netdb|dlfcn|time\.h|pugixml)' src
ALLOWED='<cstdint>|<larkmoor/|"larkmoor/|"[a-z_]+\.h"' refuse "more than <cstdint> for a host" '^#include' include
refuse "a tool or the element reaches into the driver" "^#include \"(${below#*|})/" tools/host gstreamer
refuse "the element reaches into the camera" '^#include "camera/' gstreamer
refuse "includes what no other host has" '^#include "' examples

echo "== names"
# Documents and places that only the developers have; the brackets keep this file from matching itself.
words='\b[p]art [0-9]+\.[0-9]|\b[s]pec\.md\b|\b[s]pecification\b|\bthe [s]pec\b|\.\./[s]hared|(^|[^a-z])/[w]ork/|\b[i]ssue #?[0-9]+\b'
git grep -nIiE "$words" -- . && fail "a file names what only the developers have"
git grep -nIE '\b([T]ODO|[F]IXME|[X]XX)\b' -- src include tools gstreamer examples tests && fail "something is left open"

echo "== scripts"
{ pyflakes3 scripts/*.py tests/gstreamer/*.py && bash -n dev; } || fail "a script does not compile, or uses what it does not have"

echo "== documents"
# What the host's guide shows of the small host, line by line.
awk '/^```cpp small_host/ { on = 1; next } /^```/ { on = 0 } on && NF' docs/host-guide.md |
    while IFS= read -r line; do grep -qxF -- "$line" examples/small_host.cpp || echo "$line"; done |
    grep . && fail "docs/host-guide.md shows what examples/small_host.cpp has not"

# Each text that the driver writes, whatever is filled in, stands on one line of the operator's page.
git ls-files 'src/*.cpp' | xargs perl -0777 -ne '
    BEGIN { open my $page, "<", "docs/messages.md" or die; @lines = <$page> }
    while (/\b(?:Debug)?Message\(\s*[^"();]*?((?:"(?:[^"\\]|\\.)*"\s*)+)/g) {
        my $text = join "", $1 =~ /"((?:[^"\\]|\\.)*)"/g;
        $text =~ s/\\"/"/g; $text =~ s/^(%s|korvane::[\w:%]+): //;
        my $pattern = join ".*", map { quotemeta } split /%[a-z]+/, $text;
        print "$ARGV: $text\n" unless $text !~ /[a-z]{3}/ || grep { /$pattern/ } @lines;
    }' | grep . && fail "docs/messages.md does not know these texts"

echo "== sizes"
for file in $(sources src include tools gstreamer); do
    lines=$(wc -l <"$file")
    [ "$lines" -le 500 ] || fail "$file has $lines lines: look for the second concept"
done
[ "$(wc -l <examples/small_host.cpp)" -lt 150 ] || fail "examples/small_host.cpp is small no longer"

echo "== share of tests"
lines() { sources "$@" | xargs -r cat | grep -cvE '^[[:space:]]*$'; }
code=$(lines src include tools gstreamer)
tests=$(lines tests)
echo "$tests lines of tests, $code of code: $((100 * tests / code)) %"
[ $((100 * tests / code)) -ge 22 ] && [ $((100 * tests / code)) -le 42 ] || fail "a quarter to a third is wanted"

if [ "${1:-}" != quick ]; then
    echo "== clang-tidy"
    cmake --preset debug >/dev/null || exit 1
    sources src tools examples | grep '\.cpp$' |
        { xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/debug 2>/dev/null || true; } |
        { grep -E 'error:|warning:' || true; } | sort -u | found && fail "clang-tidy"
    # Tests are built in batches: here each compiles on its own.
    sources tests fuzz | grep '\.cpp$' |
        { xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/debug \
            --checks='-*,misc-unused-alias-decls' 2>/dev/null || true; } |
        { grep -E 'error:|warning:' || true; } | sort -u | found && fail "clang-tidy on the tests"
fi
[ $failed = 0 ] && echo "lint: clean"
exit $failed
