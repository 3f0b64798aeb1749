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
# A folder may include itself and what stands in the list behind its name.
allowed()
{
    case "$1" in
        platform) echo "" ;;
        runtime) echo "platform" ;;
        device) echo "runtime platform" ;;
        http) echo "device runtime platform" ;;
        transport) echo "http device runtime platform" ;;
        parsers) echo "transport http device runtime platform" ;;
        channels | audio | ptz | io | discovery) echo "parsers transport http device runtime platform" ;;
        plugin) echo "channels audio ptz io discovery parsers transport http device runtime platform" ;;
    esac
}
for file in $(sources src); do
    folder=$(echo "$file" | cut -d/ -f2)
    for included in $(grep -oE '^#include "[a-z0-9_]+/' "$file" | sed -E 's/.*"(.*)\//\1/' | sort -u); do
        [ "$included" = "$folder" ] && continue
        echo " $(allowed "$folder") larkmoor " | grep -q " $included " || fail "$file ($folder) includes $included/"
    done
    case "$file" in src/platform/posix/* | src/platform/win32/*) continue ;; esac
    grep -nE '^#include <(sys/|netinet/|arpa/|curl/|openssl/|linux/|pthread|unistd|poll|fcntl|netdb|dlfcn|time\.h|pugixml)' "$file" |
        grep -v '<system_error>' | grep . && fail "$file includes a system header"
done
for file in $(sources include); do
    grep -nE '^#include' "$file" | grep -vE '<cstdint>|<larkmoor/|"larkmoor/|"[a-z_]+\.h"' && fail "$file includes more than <cstdint>"
done
for file in $(sources tools/host); do
    grep -nE '^#include "(platform|runtime|device|http|transport|parsers|channels|audio|ptz|io|discovery|plugin)/' "$file" &&
        ! [ -e "tools/$(grep -oE '"[^"]+"' "$file" | head -1 | tr -d '"')" ] && fail "$file reaches into the driver"
done
for file in $(sources gstreamer); do
    grep -nE '^#include "(platform|runtime|device|http|transport|parsers|channels|audio|ptz|io|discovery|plugin|camera)/' "$file" &&
        fail "$file reaches into the driver"
done
for file in $(sources examples); do
    grep -nE '^#include "' "$file" && fail "$file includes what no other host has"
done
for file in $(sources src); do
    grep -nE '^#include "(camera|host)/' "$file" && fail "$file includes a tool"
done

echo "== names"
# Documents and places that only the developers have; the brackets keep this file from matching itself.
words='\b[p]art [0-9]+\.[0-9]|\b[s]pec\.md\b|\b[s]pecification\b|\bthe [s]pec\b|\.\./[s]hared|(^|[^a-z])/[w]ork/|\b[i]ssue #?[0-9]+\b'
git grep -nIiE "$words" -- . && fail "a file names what only the developers have"
git grep -nIE '\b([T]ODO|[F]IXME|[X]XX)\b' -- src include tools gstreamer examples tests && fail "something is left open"

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
        $text =~ s/\\"/"/g; $text =~ s/^(%s|korvane::[\w:]+): //;
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
