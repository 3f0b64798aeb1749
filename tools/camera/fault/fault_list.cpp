#include "camera/fault/fault_plan.h"

namespace larkmoor::camera
{

const std::vector<FaultDescription>& FaultPlan::All()
{
    static const std::vector<FaultDescription> kAll = {
        {"Connections, HTTP and RTSP", "freeze", "", "media stop, connections stay open", "freeze"},
        {"Connections, HTTP and RTSP", "half-open", "",
         "open connections neither read nor write any more and are not closed; new ones are not answered",
         "half-open"},
        {"Connections, HTTP and RTSP", "reset", "time",
         "every so often (5s) each connection that sends is reset in the middle of an answer or a picture",
         "ht:reset=3s u:reset=3s,session-short m:reset=5s"},
        {"Connections, HTTP and RTSP", "reboot", "",
         "all connections drop, nothing answers (3 s unless told), then clocks and numbers start anew",
         "reboot", std::chrono::seconds(3)},

        {"Authentication", "http-401-once", "", "one request is refused with 401 whatever its credentials",
         "cdp:http-401-once"},
        {"Authentication", "auth-stale", "flag|no-flag",
         "a nonce serves one request, the next is refused with a new one, with or without stale=true",
         "cd:auth-stale=flag cd:auth-stale=no-flag"},
        {"Authentication", "auth-both", "basic-first|digest-first", "Basic and Digest are offered together",
         "cdp:auth-both=basic-first cb:auth-both=digest-first"},
        {"Authentication", "auth-refuse", "", "always 401", "cb:auth-refuse"},
        {"Authentication", "rtsp-auth-kept", "",
         "network_rtsp_authmode is accepted but not obeyed: RTSP asks for credentials as --auth says",
         "cdut:auth-both=basic-first,rtsp-auth-kept cbut:auth-both=digest-first,rtsp-auth-kept "
         "cdut:auth-stale=flag,rtsp-auth-kept"},

        {"HTTP and CGI", "busy-503", "count", "503 for requests above so many a second (5)",
         "c:busy-503=1 m:busy-503=20"},
        {"HTTP and CGI", "busy-401", "count", "401 for requests above so many a second (5)", "cd:busy-401=1"},
        {"HTTP and CGI", "slow-http", "bytes|headers|short|long",
         "one byte a second; headers that never end; a body shorter or longer than announced",
         "c:slow-http=bytes c:slow-http=headers c:slow-http=short cph:slow-http=long cut:slow-http=long"},
        {"HTTP and CGI", "cgi-garbage", "binary|10mb|empty|quotes",
         "parameter answers are binary bytes, 10 MB long, empty, or have unbalanced quotes",
         "c:cgi-garbage=binary c:cgi-garbage=10mb c:cgi-garbage=empty cph:cgi-garbage=quotes "
         "cut:cgi-garbage=quotes"},
        {"HTTP and CGI", "cgi-invalid", "text",
         "setparam answers ERR_INVALID for the streams named, as in c0_s0/c0_s1, or for all",
         "cph:cgi-invalid cut:cgi-invalid"},

        {"Head, inputs and outputs", "ptz-slow", "time",
         "commands of the head and its presets are obeyed at once and answered after that time"},
        {"Head, inputs and outputs", "ptz-refuse", "", "commands of the head and its presets get 503"},
        {"Head, inputs and outputs", "di-bounce", "", "inputs flip each time that they are read"},
        {"Head, inputs and outputs", "di-hang", "", "a request for the inputs is never answered"},
        {"Head, inputs and outputs", "di-refuse", "", "a request for the inputs gets 503"},
        {"Head, inputs and outputs", "do-slow", "time",
         "outputs are switched at once and confirmed after that time"},
        {"Head, inputs and outputs", "do-refuse", "", "outputs are not switched: 503"},

        {"Motion JPEG over HTTP", "mjpeg-odd",
         "no-length|no-boundary-dashes|no-part-headers|chunked|cut|thumbnail",
         "parts without Content-Length; a boundary without \"--\"; pictures with nothing between; chunked "
         "transfer; "
         "every fifth picture cut short; a thumbnail inside each picture",
         "hp:mjpeg-odd=no-length hp:mjpeg-odd=no-boundary-dashes hp:mjpeg-odd=no-part-headers "
         "hp:mjpeg-odd=chunked hp:mjpeg-odd=cut hp:mjpeg-odd=thumbnail"},

        {"RTSP", "keepalive-400", "", "OPTIONS is answered with 400 and a wrong CSeq", "utp:keepalive-400"},
        {"RTSP", "keepalive-silent", "", "OPTIONS is never answered while media flow", "ut:keepalive-silent"},
        {"RTSP", "session-short", "", "sessions time out after 8 s", "utp:session-short"},
        {"RTSP", "sprop-missing", "no-sets|no-line",
         "no parameter sets in the description, only in band; the format line without them, or no such line",
         "cut:sprop-missing=no-sets cutp:sprop-missing=no-line"},
        {"RTSP", "sprop-only", "", "parameter sets only in the description, never in band",
         "cuts:sprop-only"},
        {"RTSP", "sdp-broken", "all|port|ipv6|media|origin|blanks",
         "negative port, IPv6 c= line, unknown media, missing o=, trailing blanks", "cutp:sdp-broken=all"},
        {"RTSP", "base-odd", "absent|no-scheme|no-slash|absolute-control",
         "Content-Base absent, without scheme, without slash; absolute control addresses",
         "cutp:base-odd=absent cut:base-odd=no-scheme cut:base-odd=no-slash cut:base-odd=absolute-control"},

        {"RTP over RTSP", "interleaved-garbage", "", "stray bytes, with and without \"$\", between frames",
         "tp:interleaved-garbage"},
        {"RTP over RTSP", "interleaved-early", "",
         "media before the PLAY answer, and on channels that were not asked for", "ctp:interleaved-early"},
        {"RTP over RTSP", "interleaved-cut", "", "segments cut at every odd place, one byte at a time",
         "tp:interleaved-cut"},

        {"RTP and RTCP", "rtp-loss", "ratio", "packets are lost", "uts:rtp-loss=0.02 utm:rtp-loss=0.002"},
        {"RTP and RTCP", "rtp-dup", "ratio", "packets come twice", "uts:rtp-dup=0.02 utm:rtp-dup=0.002"},
        {"RTP and RTCP", "rtp-reorder", "ratio", "packets come behind the next one",
         "uts:rtp-reorder=0.02 utm:rtp-reorder=0.002"},
        {"RTP and RTCP", "foreign-ssrc", "ratio", "packets of a dead session, of another SSRC, are mixed in",
         "ut:foreign-ssrc=0.02 utm:foreign-ssrc=0.002"},
        {"RTP and RTCP", "seq-jump", "for-good|once", "the sequence number leaps, for good or for one frame",
         "ut:seq-jump=for-good utp:seq-jump=once"},
        {"RTP and RTCP", "ts-jump", "for-good|once", "the timestamp leaps a minute forward",
         "ut:ts-jump=for-good utp:ts-jump=once"},
        {"RTP and RTCP", "ts-back", "for-good|once", "the timestamp leaps half a minute back",
         "ut:ts-back=for-good utp:ts-back=once"},
        {"RTP and RTCP", "no-marker", "", "the marker bit is never set", "uts:no-marker"},
        {"RTP and RTCP", "sps-change", "", "another picture size in mid-stream, without a request",
         "utp:sps-change"},
        {"RTP and RTCP", "jpeg-rtp-odd", "no-tables|q127|restart|no-size",
         "JPEG with Q 255 and no tables; with Q 127; behind restart headers without an interval; with sizes "
         "of 0"},
        {"RTP and RTCP", "aac-odd", "two|joined|split|fragments|wide|junk",
         "access units two behind one header section; two sections in a packet; split, with headers in front "
         "of the first piece or of each; behind a header of another length; without any"},
        {"RTP and RTCP", "bye", "media-go-on|media-stop", "RTCP BYE, and media go on or stop",
         "ut:bye=media-go-on ut:bye=media-stop"},
        {"RTP and RTCP", "rtcp-flood", "", "hundreds of sender reports a second, also from another address",
         "utp:rtcp-flood"},
    };
    return kAll;
}

} // namespace larkmoor::camera
