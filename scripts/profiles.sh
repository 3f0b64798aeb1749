#!/usr/bin/env bash
# profiles.sh [SECONDS [PRESET]]: asks a simulated camera of every profile what it is, and records from it with the saved
# device file in each codec that it named. Prints a table; ends with 1 if a recording got nothing or something foreign.
set -uo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-5}
bin=build/${2:-release}
out=out/profiles
rm -rf "$out"
mkdir -p "$out"
export LARKMOOR_PASSWORD=demo
failed=0
md5s() { grep -oE '"md5": ?"[0-9a-f]+"' "$1" 2>/dev/null | tr -d ' ' | sort -u; }
number() { sed -nE "s/^  \"$2\": ([0-9.]+).*/\1/p" "$1" 2>/dev/null | head -1; }

record() # PROFILE CHANNEL CODEC TRANSPORT SIZE
{
    local name="$1-$2-$3-$4" foreign frames=0 verdict=ok
    "$bin/larkmoor-host" record --device "$out/$1.json" --channel "$2" --codec "$3" --transport "$4" --size "$5" --rate 10 \
        --seconds "$seconds" --patience 10s --frames "$out/$name.jsonl" --json "$out/$name.report" --quiet >"$out/$name.log" 2>&1 || verdict=FAILED
    frames=$(number "$out/$name.report" frames)
    foreign=$(comm -23 <(md5s "$out/$name.jsonl") <(md5s "$out/$1.truth") | wc -l)
    [ "${frames:-0}" -gt 0 ] && [ "$foreign" = 0 ] || verdict=FAILED
    [ "$verdict" = ok ] || failed=1
    printf '   %-8s %7s %-6s %-5s %9s %7s %8s  %s\n' "$1" "$2" "$3" "$4" "$5" "${frames:-0}" "$foreign" "$verdict"
}

printf '   %-8s %7s %-6s %-5s %9s %7s %8s\n' profile channel codec over size frames foreign
for profile in single server dome audio ip7135 ip7131 vs2403; do
    coproc CAMERA { exec "$bin/larkmoor-camera" --profile "$profile" --auth digest --user root --password demo \
        --truth "$out/$profile.truth" --seconds 600 2>"$out/$profile.camera"; }
    pid=$CAMERA_PID
    read -r -u "${CAMERA[0]}" ready || { cat "$out/$profile.camera"; exit 1; }
    http=$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")
    if "$bin/larkmoor-host" query --address 127.0.0.1 --port "$http" --user root --save "$out/$profile.json" --quiet >"$out/$profile.query" 2>&1; then
        size=$(grep -oE '[0-9]+x[0-9]+' "$out/$profile.query" | sort -t x -n | tail -1)
        codecs=$(sed -nE 's/^ *codecs +//p' "$out/$profile.query" | sed 's/mjpeg over HTTP only/mjpeg-http/' | tr -d ',' | tr ' ' '\n')
        channels=$(sed -nE 's/^ *channels +([0-9]+).*/\1/p' "$out/$profile.query")
        for codec in $(sort -u <<<"$codecs"); do
            channel=$((channels - 1))
            case "$codec" in
                mjpeg)
                    record "$profile" "$channel" mjpeg http "$size"
                    grep -q 'over RTSP: none' "$out/$profile.query" || record "$profile" "$channel" mjpeg udp "$size"
                    ;;
                mjpeg-http) grep -qx mjpeg <<<"$codecs" || record "$profile" "$channel" mjpeg http "$size" ;;
                *) record "$profile" "$channel" "$codec" udp "$size"; record "$profile" "$channel" "$codec" tcp "$size" ;;
            esac
        done
    else
        echo "   $profile: the query failed"
        failed=1
    fi
    kill "$pid"
    wait "$pid" 2>/dev/null
done
exit $failed
