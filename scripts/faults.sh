#!/usr/bin/env bash
# [http|rtsp|all [SECONDS [PRESET]]]: plays each fault of the simulated camera for SECONDS (11) to a recording by the
# programs of PRESET (release), two at a time: 5 s of health before, 14 s behind. Prints a row for each: the states of
# the channel by the seconds since the fault began, frames before, during and after, how long they took to come back
# once it was over, frames that the camera did not send as they arrived, and the memory of the bench host. Fails on a
# row without frames behind the fault, with strange frames that its line doesn't allow for, with a status other than 0,
# or with a finding of a sanitizer. FAULT=TEXT in the environment plays only the rows whose faults hold that text.
set -uo pipefail
cd "$(dirname "$0")/.." || exit
what=${1:-all}
lasts=${2:-11}
bin=build/${3:-release}
out=out/faults
before=5
after=14
rm -rf "$out"
mkdir -p "$out"
# Memory that was freed is to be given back, so that what is left shows.
export ASAN_OPTIONS=quarantine_size_mb=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 MALLOC_TRIM_THRESHOLD_=65536

# A fault a line; several are played together. What stands in front of a fault: "u" and "t" are for RTP over UDP or
# interleaved alone, "d" and "b" for a camera that asks for Digest or Basic; "c" is there from the start, because it acts
# while a session is made and would not be seen in one that runs; "*" allows for frames that are not in the
# truth but made of whole units: a parameter set that came twice, pictures without the sets that the camera no longer
# sends, or several pictures that no marker divided.
common="freeze half-open reboot cd:http-401-once cd:auth-stale=flag cd:auth-stale=no-flag cd:auth-both=basic-first
 cb:auth-both=digest-first cb:auth-refuse c:busy-503=1 cd:busy-401=1 c:slow-http=bytes c:slow-http=headers
 c:slow-http=short c:slow-http=long c:cgi-garbage=binary c:cgi-garbage=10mb c:cgi-garbage=empty c:cgi-garbage=quotes
 c:cgi-invalid"
http_faults="$common reset=3s mjpeg-odd=no-length mjpeg-odd=no-boundary-dashes mjpeg-odd=no-part-headers
 mjpeg-odd=chunked mjpeg-odd=cut mjpeg-odd=thumbnail"
rtsp_faults="$common u:reset=3s,session-short t:reset=3s keepalive-400 keepalive-silent session-short
 t:interleaved-garbage ct:interleaved-early t:interleaved-cut foreign-ssrc=0.02 c:sprop-missing=no-sets
 c:sprop-missing=no-line c*:sprop-only c:sdp-broken=all c:base-odd=absent c:base-odd=no-scheme c:base-odd=no-slash
 c:base-odd=absolute-control cd:auth-both=basic-first,rtsp-auth-kept cb:auth-both=digest-first,rtsp-auth-kept
 cd:auth-stale=flag,rtsp-auth-kept *:rtp-loss=0.02 *:rtp-dup=0.02 *:rtp-reorder=0.02 seq-jump=for-good seq-jump=once
 ts-jump=for-good ts-jump=once ts-back=for-good ts-back=once *:no-marker sps-change bye=media-go-on bye=media-stop
 rtcp-flood"

joined() { echo "$@" | sed -E 's/(^| )[a-z*]+:/\1/g; s/ +/,/g'; }
# All at once are two rows: those that let frames pass, and those together with the ones that don't.
http_mild=$(joined http-401-once auth-both=basic-first busy-503=20 slow-http=long cgi-garbage=quotes cgi-invalid \
    mjpeg-odd=no-length mjpeg-odd=no-part-headers mjpeg-odd=no-boundary-dashes mjpeg-odd=chunked mjpeg-odd=cut \
    mjpeg-odd=thumbnail reset=5s)
rtsp_mild=$(joined http-401-once auth-both=basic-first busy-503=20 keepalive-400 session-short interleaved-garbage \
    interleaved-early interleaved-cut foreign-ssrc=0.002 sprop-missing=no-line sdp-broken=all base-odd=absent \
    rtp-loss=0.002 rtp-dup=0.002 rtp-reorder=0.002 seq-jump=once ts-jump=once ts-back=once sps-change rtcp-flood reset=5s)
http_all=$(joined $http_faults)
rtsp_all=$(joined $rtsp_faults)

windowed() { sed -E "s/([^,]+)/\1@${before}s+$2s/g" <<<"$1"; } # FAULTS SECONDS
resident() { awk '/^VmRSS/ {printf "%.1f", $2 / 1024}' "/proc/$1/status" 2>/dev/null || echo 0; }
count_frames() { awk -v from="$2" -v to="$3" 'BEGIN {n = 0} $1 >= from && $1 < to {n++} END {print n}' "$1"; }

states() # JSON OFFSET: the channel's states by the seconds since the fault began; what came before it is left out
{
    awk -v offset="$2" '/"states"/ {inside = 1} /"changes"/ {inside = 0}
        inside && /"seconds"/ {gsub(/[^0-9.]/, ""); at = $0 - offset}
        inside && /"state":/ {gsub(/[^0-9]/, "")
            if (at < 0) first = $0; else if ($0 != 3 && ++n <= 6) text = text sprintf(" %s@%.1f", $0, at)}
        END {if (n > 6) text = text " and " n - 6 " more"; print first text}' "$1"
}

# NAME TRANSPORT MARKS FAULTS SECONDS: one row
play()
{
    local name=$1 transport=$2 marks=$3 faults=$4 seconds=$5 codec=h264 auth=none ready before=$before
    local dir=$out/$name-$transport
    mkdir -p "$dir"
    [ "$transport" != http ] || codec=mjpeg
    if [[ $marks == *c* ]]; then
        seconds=$((seconds + before))
        before=0
    fi
    case $marks in *d*) auth=digest ;; *b*) auth=basic ;; esac
    mkfifo "$dir/ready"
    LARKMOOR_CAMERA_PASSWORD=larkmoor "$bin/larkmoor-camera" --auth "$auth" --seconds $((before + seconds + after + 60)) \
        --fault "$(windowed "$faults" "$seconds")" --truth "$dir/truth.jsonl" >"$dir/ready" 2>"$dir/camera.log" &
    local camera=$!
    read -r ready <"$dir/ready"
    local begun now memory_before memory_after status=0
    begun=$(date +%s.%N)
    LARKMOOR_PASSWORD=larkmoor "$bin/larkmoor-host" record --port "$(sed -E 's/.*http=([0-9]+).*/\1/' <<<"$ready")" \
        --rtsp-port "$(sed -E 's/.*rtsp=([0-9]+).*/\1/' <<<"$ready")" --user root --codec "$codec" \
        --transport "$transport" --size 320x240 --rate 15 --frames "$dir/frames.jsonl" --json "$dir/report.json" \
        >"$dir/host.log" 2>&1 &
    local host=$!
    sleep $((before > 0 ? before - 1 : 0)).8
    memory_before=$(resident $host)
    sleep $((seconds + after + (before == 0)))
    memory_after=$(resident $host)
    now=$(date +%s.%N)
    kill -INT $host 2>/dev/null
    wait $host || status=$?
    kill $camera 2>/dev/null
    wait $camera 2>/dev/null
    judge "$dir" "$begun" "$seconds" "$status" "$marks" "$memory_before" "$memory_after" \
        "$(printf '%-9s %-34s' "$transport" "$name")" "$now"
}

judge() # FOLDER BEGUN SECONDS STATUS MARKS MEMORY MEMORY HEAD NOW
{
    local dir=$1 begun=$2 seconds=$3 status=$4 marks=$5 verdict=ok strange back start
    # The moments of delivery as seconds of the epoch.
    sed -nE 's/.*"delivered":"([^"]+)Z".*/\1/p' "$dir/frames.jsonl" 2>/dev/null | sed 's/$/Z/' | date -u -f - +%s.%N \
        >"$dir/moments" 2>/dev/null
    local starts ends
    starts=$(awk "BEGIN {printf \"%.3f\", $begun + $before}")
    ends=$(awk "BEGIN {printf \"%.3f\", $begun + $before + $seconds}")
    back=$(awk -v end="$ends" '$1 >= end {printf "%.1f", $1 - end; exit}' "$dir/moments")
    strange=$(grep -oE '"md5":"[0-9a-f]+"' "$dir/frames.jsonl" 2>/dev/null | sort -u |
        comm -23 - <(grep -oE '"md5":"[0-9a-f]+"' "$dir/truth.jsonl" | sort -u) | wc -l)
    start=$(sed -nE 's/.*"started": "([^"]+)".*/\1/p' "$dir/report.json" 2>/dev/null)
    start=$(date -u -d "${start:-1970-01-01}" +%s.%N)
    [ -n "$back" ] || verdict="NO FRAMES BEHIND IT"
    [ "$strange" = 0 ] || [[ $marks == *\** ]] || verdict="STRANGE FRAMES"
    [ "$status" = 0 ] || verdict="STATUS $status"
    ! grep -qE 'Sanitizer|runtime error' "$dir/host.log" "$dir/camera.log" || verdict="SANITIZER"
    printf '%s %4s %4s %4s %6s %7s %7s %7s  %-12s %s\n' "$8" "$(count_frames "$dir/moments" 0 "$starts")" \
        "$(count_frames "$dir/moments" "$starts" "$ends")" "$(count_frames "$dir/moments" "$ends" "$9")" "${back:--}" \
        "$strange" "$6" "$7" "$verdict" "$(states "$dir/report.json" "$(awk "BEGIN {print $starts - $start}")")" |
        tee "$dir/row"
}

running=0
row() # NAME TRANSPORT MARKS FAULTS SECONDS: as soon as fewer than two are played
{
    [[ "$1 $4" == *"${FAULT:-}"* ]] || return 0
    if [ $running -ge 2 ]; then
        wait -n
        running=$((running - 1))
    fi
    play "$@" &
    running=$((running + 1))
}

rows() # TRANSPORT LETTER-OF-OTHER FAULTS MILD ALL
{
    local transport=$1 other=$2 each marks fault
    for each in $3; do
        marks=${each%%:*}
        [ "$marks" != "$each" ] || marks=""
        fault=${each#*:}
        [[ -z $other || $marks != *$other* ]] || continue
        row "$fault" "$transport" "$marks" "$fault" "$lasts"
    done
    row all-that-pass "$transport" "d*" "$4" 60
    row all "$transport" "d*" "$5" 60
}

printf '%-9s %-34s %4s %4s %4s %6s %7s %7s %7s  %-12s %s\n' over fault bef dur aft back strange MB MB "" states
set -f # the marks are no patterns
case $what in http | all) rows http - "$http_faults" "$http_mild" "$http_all" ;; esac
case $what in
    rtsp | all)
        rows udp t "$rtsp_faults" "$rtsp_mild" "$rtsp_all"
        rows tcp u "$rtsp_faults" "$rtsp_mild" "$rtsp_all"
        ;;
esac
wait
set +f
all=$(cat "$out"/*/row | wc -l)
good=$(grep -hcE '  ok  ' "$out"/*/row | awk '{n += $1} END {print n + 0}')
echo "$good of $all rows are well"
[ "$good" = "$all" ] && [ "$all" != 0 ]
