#!/usr/bin/env bash
# [FRAMES [PRESET]]: records FRAMES (1100) from GStreamer's RTSP server with the programs of PRESET (release): over UDP
# and interleaved, with and without Digest, all four at once. Fails if fewer come, if one is missing by its time, or if
# a player finds an error in a recording.
set -euo pipefail
cd "$(dirname "$0")/.."
frames=${1:-1100}
bin=build/${2:-release}
out=out/foreign
rm -rf "$out"
failed=0
servers=()
trap 'kill "${servers[@]}" 2>/dev/null; wait' EXIT
number() { sed -nE "s/^  \"$2\": ([0-9.]+).*/\1/p" "$1" | head -1; } # of a report's first level

rows=()
pids=()
for auth in none digest; do
    mkdir -p "$out"
    mkfifo "$out/$auth.ready"
    scripts/foreign_server.py $auth larkmoor >"$out/$auth.ready" 2>"$out/$auth.log" &
    servers+=($!)
    read -r ready <"$out/$auth.ready"
    for transport in udp tcp; do
        row=$transport-$auth
        LARKMOOR_PASSWORD=larkmoor "$bin/larkmoor-host" record --port "$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")" \
            --rtsp-port "$(sed -E 's/.*rtsp=([0-9]+).*/\1/' <<<"$ready")" --user root --codec h264 --transport $transport \
            --property '14=1;video.mjpg;foreign/h264' --size 640x480 --seconds $((frames / 25 + 1)) --out "$out/$row.mkv" \
            --json "$out/$row.json" >"$out/$row.log" 2>&1 &
        pids+=($!)
        rows+=("$row")
    done
done
printf '%-12s %8s %10s %7s %6s %s\n' "" frames decoded errors gaps ""
for i in "${!rows[@]}"; do
    row=$out/${rows[$i]}
    verdict=ok
    wait "${pids[$i]}" || verdict="larkmoor-host ended with $?"
    decoded=$(ffprobe -v error -count_frames -select_streams v -show_entries stream=nb_read_frames -of csv=p=0 "$row.mkv" \
        2>"$row.ffprobe" | tr -dc 0-9) || true
    errors=$(wc -l <"$row.ffprobe")
    count=$(number "$row.json" frames)
    gaps=$(number "$row.json" gaps)
    [ "${count:-0}" -ge "$frames" ] && [ "${decoded:-0}" = "$count" ] && [ "$errors" = 0 ] && [ "$gaps" = 0 ] || verdict="NOT WELL: $verdict"
    [ "$verdict" = ok ] || failed=1
    printf '%-12s %8s %10s %7s %6s %s\n' "${rows[$i]}" "${count:-0}" "${decoded:-0}" "$errors" "${gaps:--}" "$verdict"
done
exit $failed
