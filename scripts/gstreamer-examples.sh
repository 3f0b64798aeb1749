#!/usr/bin/env bash
# Runs the examples of docs/gstreamer.md, as they are written there, against a simulated camera:
# scripts/gstreamer-examples.sh [PRESET [NAME...]]
set -uo pipefail
cd "$(dirname "$0")/.."
preset=${1:-gstreamer}
shift || true
build=build/$preset
work=$(mktemp -d)
camera=
server=
finish()
{
    [ -z "$server" ] || kill "$server" 2>/dev/null
    [ -z "$camera" ] || kill "$camera" 2>/dev/null
    rm -rf "$work"
}
trap finish EXIT

export GST_PLUGIN_PATH=$PWD/$build/gstreamer GST_REGISTRY=$work/registry
export PATH=/usr/bin:$PATH # the Python that has the bindings
gst-inspect-1.0 larkmoorsrc >"$work/inspect" || exit 1 # looks through all plugins, which takes some seconds

"$build/larkmoor-camera" --seconds 300 >"$work/ready" 2>"$work/camera.log" &
camera=$!
for _ in $(seq 100); do
    grep -q ready "$work/ready" && break
    sleep 0.1
done
read -r _ http rtsp <"$work/ready" || { echo "the camera does not start" >&2; exit 1; }
export CAMERA="larkmoor://root@127.0.0.1:${http#http=}/?rtsp-port=${rtsp#rtsp=}"

example() # NAME: its text in the document
{
    awk -v begin="\`\`\`sh $1" '$0 == begin { on = 1; next } /^```$/ { on = 0 } on' docs/gstreamer.md
}

become() # NAME SECONDS [WRAPPER...]: the example, until it ends, or for so long and then to a clean end
{
    local text folder=$PWD
    text=$(example "$1")
    [ -n "$text" ] || { echo "docs/gstreamer.md has no example $1"; return 1; }
    printf '%s\n' "$text" | sed "s|examples/|$folder/examples/|; s|8555|18555|; s|8556|18556|" >"$work/$1.sh"
    local seconds=$2 name=$1
    shift 2
    cd "$work" || return 1
    exec timeout --signal=INT --kill-after=20 "$seconds" "$@" bash -c "exec $(cat "$name.sh")" >"$name.log" 2>&1
}

frames() # FILE: how many pictures can be decoded in it
{
    ffprobe -v error -select_streams v -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$1" | tr -dc 0-9
}

check_record() { (become record 15); [ "$(frames "$work/door-00000.mkv")" -gt 50 ]; }

check_preview()
{
    (become preview 10 xvfb-run -a)
    grep -q 'Setting pipeline to PLAYING' "$work/preview.log" && ! grep -q ERROR "$work/preview.log"
}

check_restream()
{
    become restream 40 &
    server=$!
    for _ in $(seq 100); do
        grep -q rtsp:// "$work/restream.log" 2>/dev/null && break
        sleep 0.1
    done
    ffmpeg -v error -rtsp_transport tcp -i rtsp://127.0.0.1:18555/camera -t 3 -c copy -y "$work/restream.mkv" \
        >"$work/client.log" 2>&1
    kill "$server" 2>/dev/null
    server=
    [ "$(frames "$work/restream.mkv")" -gt 25 ]
}

check_webrtc()
{
    become webrtc 60 &
    server=$!
    for _ in $(seq 100); do
        grep -q http:// "$work/webrtc.log" 2>/dev/null && break
        sleep 0.1
    done
    python3 scripts/webrtc_viewer.py http://127.0.0.1:18556/ 50 >>"$work/webrtc.log" 2>&1
    local status=$?
    kill "$server" 2>/dev/null
    server=
    return $status
}

check_wall() { (become wall 15); [ "$(frames "$work/wall.mkv")" -gt 25 ] && ffprobe -v error -show_entries stream=width,height -of csv=p=0 "$work/wall.mkv" | grep -q 1280,960; }

check_analyse() { (become analyse 60); [ "$(grep -c brightness "$work/analyse.log")" = 10 ]; }

status=0
[ $# -gt 0 ] || set -- record preview restream webrtc wall analyse
for name in "$@"; do
    if "check_$name"; then
        echo "$name: runs"
    else
        echo "$name: FAILED"
        tail -15 "$work/$name.log" | cut -c1-300
        status=1
    fi
done
exit $status
