#!/usr/bin/env bash
# [SECONDS [TRANSPORT...]]: records 1920x1080 at 25 frames and about 4 Mbit/s from a live encoder for SECONDS (600), over
# udp, tcp and multicast unless told otherwise, one behind the other. Everything runs in a network of its own, with a
# route for multicast. Fails if a frame is missing or not as it was sent, or if a player finds an error in a recording.
# CODEC (h264) and SIZE (1920x1080) in the environment choose another stream; PREFIX goes before both programs
# ("nice -n -5" on a busy machine).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -z "${LARKMOOR_OWN_NETWORK:-}" ]; then
    namespace=(unshare --net)
    [ "$(id -u)" = 0 ] || namespace+=(--map-root-user)
    LARKMOOR_OWN_NETWORK=1 exec "${namespace[@]}" "$0" "$@"
fi
ip link set lo up
ip route add 224.0.0.0/4 dev lo src 127.0.0.1
seconds=${1:-600}
shift || true
[ $# -gt 0 ] || set -- udp tcp multicast
bin=build/release
codec=${CODEC:-h264}
out=out/longrun/$codec
failed=0
camera=
trap '[ -z "$camera" ] || kill "$camera" 2>/dev/null; wait' EXIT
number() { sed -nE "s/^  \"$2\": ([0-9.]+).*/\1/p" "$1" | head -1; } # of a report's first level

for transport in "$@"; do
    dir=$out/$transport
    rm -rf "$dir"
    mkdir -p "$dir"
    mkfifo "$dir/ready"
    announce=0 # a description with a group is for multicast clients
    [ "$transport" != multicast ] || announce=1
    ${PREFIX:-} "$bin/larkmoor-camera" --truth "$dir/truth.jsonl" \
        --set network_rtsp_s0_multicast_alwaysmulticast=$announce --seconds $((seconds + 120)) >"$dir/ready" 2>"$dir/camera.log" &
    camera=$!
    read -r ready <"$dir/ready"
    status=0
    ${PREFIX:-} "$bin/larkmoor-host" record --port "$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")" \
        --rtsp-port "$(sed -E 's/.*rtsp=([0-9]+).*/\1/' <<<"$ready")" --codec "$codec" --transport "$transport" \
        --size "${SIZE:-1920x1080}" --rate 25 --bitrate 4000000 --seconds "$seconds" --out "$dir/recording.mkv" \
        --frames "$dir/frames.jsonl" --json "$dir/report.json" >"$dir/host.log" 2>&1 || status=$?
    kill "$camera"
    wait "$camera" || true
    camera=
    [ "$status" = 0 ] || { echo "$transport: larkmoor-host ended with $status"; cat "$dir/host.log"; failed=1; continue; }
    printf '%-10s' "$transport:"
    scripts/compare_frames.py truth "$dir/truth.jsonl" "$dir/frames.jsonl" || failed=1
    awk -v bytes="$(number "$dir/report.json" bytes)" -v seconds="$seconds" -v gaps="$(number "$dir/report.json" gaps)" \
        'BEGIN {printf "%10s%.2f Mbit/s over %d s, %d gaps by time\n", "", bytes * 8 / seconds / 1e6, seconds, gaps}'
    playable=$(ffprobe -v error -count_frames -select_streams v -show_entries stream=nb_read_frames -of csv=p=0 \
        "$dir/recording.mkv" 2>"$dir/ffprobe.log" | tr -dc 0-9)
    errors=$(wc -l <"$dir/ffprobe.log")
    printf '%10s%s frames decoded, %s error lines\n' "" "${playable:-no}" "$errors"
    [ "$errors" = 0 ] && [ "${playable:-0}" = "$(wc -l <"$dir/frames.jsonl")" ] || failed=1
done
[ $failed = 0 ] && echo "longrun: nothing lost" || echo "longrun: NOT clean"
exit $failed
