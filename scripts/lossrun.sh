#!/usr/bin/env bash
# [SECONDS [PRESET]]: records H.264 over UDP for SECONDS (60) with the programs of PRESET (release) while 2 % of all
# packets are lost, come twice or come behind the next one; with one and with four slices to a picture. Compares every
# frame unit by unit with what the camera sent, and counts what is delivered beyond whole pictures. Fails if a frame
# holds a unit that was not sent whole for it, or if a key frame that was sent whole does not come.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
bin=build/${2:-release}
out=out/lossrun
rm -rf "$out"

play() # NAME FAULTS SLICES
{
    local dir=$out/$1 ready camera status=0
    mkdir -p "$dir"
    mkfifo "$dir/ready"
    "$bin/larkmoor-camera" --fault "$2" --set "videoin_c0_s0_h264_slices=$3" --truth "$dir/truth.jsonl" \
        --truth-units "$dir/units.jsonl" --seconds $((seconds + 60)) >"$dir/ready" 2>"$dir/camera.log" &
    camera=$!
    read -r ready <"$dir/ready"
    "$bin/larkmoor-host" record --port "$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")" \
        --rtsp-port "$(sed -E 's/.*rtsp=([0-9]+).*/\1/' <<<"$ready")" --codec h264 --transport udp --size 640x480 \
        --rate 25 --seconds "$seconds" --raw "$dir/raw.h264" --frames "$dir/frames.jsonl" >"$dir/host.log" 2>&1 || status=$?
    kill $camera
    wait $camera || true
    [ $status = 0 ] || { cat "$dir/host.log"; return $status; }
    scripts/compare_frames.py units "$dir/truth.jsonl" "$dir/frames.jsonl" "$dir/units.jsonl" "$dir/raw.h264" >"$dir/table"
}

names=()
pids=()
for slices in 1 4; do
    for faults in rtp-loss=0.02 rtp-dup=0.02 rtp-reorder=0.02 rtp-loss=0.02,rtp-dup=0.02,rtp-reorder=0.02; do
        name=$(tr -d =.0-9 <<<"$faults"),$slices-slices
        play "$name" "$faults" "$slices" &
        pids+=($!)
        names+=("$name")
    done
done
failed=0
for i in "${!names[@]}"; do
    verdict=ok
    wait "${pids[$i]}" || { verdict="NOT WELL"; failed=1; }
    echo "${names[$i]}: $verdict"
    sed 's/^/   /' "$out/${names[$i]}/table" || true
done
[ $failed = 0 ] && echo "lossrun: nothing wrong was delivered" || echo "lossrun: NOT clean"
exit $failed
