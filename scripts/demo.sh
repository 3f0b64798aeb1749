#!/usr/bin/env bash
# Records from a simulated camera through the real library, and shows what arrived. Leaves everything in out/demo/.
set -euo pipefail
cd "$(dirname "$0")/.."
bin=build/release
out=out/demo
failed=0
rm -rf "$out"
mkdir -p "$out"
say() { printf '== %s\n' "$*"; }
value() { sed -nE "s/^  \"$2\": ([0-9.]+).*/\1/p" "$1" | head -1; } # a number of a report's first level

say "starting a simulated camera that wants Digest credentials"
coproc CAMERA { exec "$bin/larkmoor-camera" --profile audio --auth digest --user root --password demo --request-log "$out/requests.jsonl" \
    --truth "$out/truth.jsonl" --seconds 300 2>"$out/camera.log"; }
camera_pid=$CAMERA_PID
dome_pid=
trap 'kill "$camera_pid" $dome_pid 2>/dev/null; wait "$camera_pid" 2>/dev/null || true' EXIT
read -r -u "${CAMERA[0]}" ready || { cat "$out/camera.log"; exit 1; }
echo "   $ready"
http=$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")

record() # NAME ASKED_FRAMES larkmoor-host arguments...
{
    local name=$1 asked=$2
    shift 2
    LARKMOOR_PASSWORD=demo "$bin/larkmoor-host" record --device "$out/camera.json" \
        --out "$out/$name.mkv" --frames "$out/$name.jsonl" --json "$out/$name.json" "$@" || failed=1
    rows+=("$name $asked")
}

# A dome's head moves and its output flips while it is recorded; two pictures show it. A camera of its own.
move_head()
{
    local ready http dome record_pid io_pid
    exec {dome}< <(exec "$bin/larkmoor-camera" --profile dome --input '1@3s=high' --request-log "$out/dome-requests.jsonl" \
        --truth "$out/dome-truth.jsonl" --seconds 300 2>"$out/dome.log")
    dome_pid=$!
    read -r -u "$dome" ready || { cat "$out/dome.log"; return 1; }
    http=$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")
    "$bin/larkmoor-host" query --address 127.0.0.1 --port "$http" --save "$out/dome.json" --quiet >"$out/dome-query.log" 2>&1 || return 1
    "$bin/larkmoor-host" record --device "$out/dome.json" --codec h264 --transport tcp --size 640x480 --rate 15 --seconds 12 \
        --out "$out/dome.mkv" --frames "$out/dome.jsonl" --json "$out/dome-record.json" --quiet >"$out/dome-record.log" 2>&1 &
    record_pid=$!
    "$bin/larkmoor-host" io --device "$out/dome.json" --set 0@5s=on --seconds 11 --quiet >"$out/dome-io.log" 2>&1 &
    io_pid=$!
    "$bin/larkmoor-host" ptz --device "$out/dome.json" --quiet --property 16=S wait:3s right:2s zoom-in:2s 2>>"$out/dome.log"
    "$bin/larkmoor-host" preset --device "$out/dome.json" --quiet add "market street" 2>>"$out/dome.log"
    wait "$record_pid" && wait "$io_pid" || return 1
    grep 'input' "$out/dome-io.log" | sed 's/^/   /'
    kill "$dome_pid"
    dome_pid=
    ffmpeg -v error -y -ss 1 -i "$out/dome.mkv" -frames:v 1 "$out/dome-before.png"
    ffmpeg -v error -y -sseof -0.5 -i "$out/dome.mkv" -frames:v 1 "$out/dome-after.png"
    echo "   pictures: $out/dome-before.png $out/dome-after.png"
}
rows=()

say "asking the camera what it is"
LARKMOOR_PASSWORD=demo "$bin/larkmoor-host" query --address 127.0.0.1 --port "$http" --user root --host-version 7.4.4.0 --save "$out/camera.json"

say "Motion JPEG over HTTP: 640x480, 15 frames a second, 6 s"
record motion-jpeg 90 --codec mjpeg --transport http --size 640x480 --rate 15 --quality 80 --seconds 6 \
    --picture "$out/motion-jpeg.png"
say "H.264 and AAC sound over UDP: 1280x720, 25 frames a second, and after 5 s 640x480 at 10"
record h264-udp 175 --audio --codec h264 --transport udp --size 1280x720 --rate 25 --quality 70 --seconds 10 \
    --change 5s:640x480@10 --picture "$out/h264-udp-after.png"
say "H.264 and G.711 sound over the RTSP connection: 1280x720, 25 frames a second, 6 s"
record h264-tcp 150 --audio --audio-codec g711 --codec h264 --transport tcp --size 1280x720 --rate 25 --quality 70 --seconds 6 \
    --picture "$out/h264-tcp.png"
say "a dome: the head moves and an output flips while 12 s are recorded"
move_head || failed=1
ffmpeg -v error -y -i "$out/h264-udp.mkv" -frames:v 1 "$out/h264-udp-before.png"

md5s() { grep -oE '"md5": ?"[0-9a-f]+"' "$1" | tr -d ' ' | sort -u; }
count() # FILES...: the frames that a player finds in them
{
    local file sum=0
    for file in "$@"; do
        sum=$((sum + $(ffprobe -v error -count_frames -select_streams v -show_entries stream=nb_read_frames -of csv=p=0 "$file" | tr -dc 0-9)))
    done
    echo "$sum"
}

say "what was delivered"
printf '   %-12s %6s %10s %9s %6s %8s %14s %13s\n' recording asked delivered playable gaps foreign 'first after s' 'longest pause'
for row in "${rows[@]}"; do
    read -r name asked <<<"$row"
    playable=$(count "$out/$name"*.mkv)
    foreign=$(comm -23 <(md5s "$out/$name.jsonl") <(md5s "$out/truth.jsonl") | wc -l)
    printf '   %-12s %6s %10s %9s %6s %8s %14.2f %13.2f\n' "$name" "$asked" "$(value "$out/$name.json" frames)" "$playable" \
        "$(value "$out/$name.json" gaps)" "$foreign" "$(value "$out/$name.json" first_frame_seconds)" \
        "$(value "$out/$name.json" longest_pause_seconds)"
    [ "$playable" -ge $((asked * 95 / 100)) ] && [ "$foreign" = 0 ] || failed=1
done
for name in h264-udp h264-tcp; do
    sound=$(value "$out/$name.json" audio_frames)
    echo "   $name: ${sound:-0} frames of sound, $(ffprobe -v error -select_streams a -show_entries stream=codec_name -of csv=p=0 "$out/$name.mkv")"
    [ "${sound:-0}" -gt 0 ] || failed=1
done
echo "   (playable: as ffprobe counts them; foreign: frames that the camera did not send just so)"
echo "   recordings and pictures: $out/"
[ "$failed" = 0 ] || { echo "fewer than 95 % of the asked frames, or a frame that was not sent" >&2; exit 1; }
