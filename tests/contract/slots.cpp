// Compiled for the host's own compiler family, with a stand-in for the standard library, so that the compiler
// prints the table of virtual functions of each interface.

#include <larkmoor/exports.h>

using namespace korvane::ipcapture;

template <class Interface>
void Destroy(Interface* object)
{
    delete object; // needs the table
}

template void Destroy(CDebugInfoIf*);
template void Destroy(IHostSink*);
template void Destroy(IHostDeviceDescription*);
template void Destroy(IHostConnection*);
template void Destroy(IHostDeviceSettings*);
template void Destroy(IHostResolution*);
template void Destroy(IHostVideoFormat*);
template void Destroy(IHostStreamSettings*);
template void Destroy(IHostChannelSettings*);
template void Destroy(IHostChannelClient*);
template void Destroy(IHostFrame*);
template void Destroy(IHostFrameAllocator*);
template void Destroy(IIPVideoCaptureEx*);
template void Destroy(IHostIOClient*);
template void Destroy(ICaptureIOApi*);
template void Destroy(IIPPTZApiEx*);
template void Destroy(IIPParams*);
template void Destroy(IIPPTZDriverEx*);
template void Destroy(IHostAudioClient*);
template void Destroy(IHostCodecItem*);
template void Destroy(IHostCodecList*);
template void Destroy(IHostOutgoingAudio*);
template void Destroy(IIPAudioCapture2*);
template void Destroy(IIPAudioSender*);
template void Destroy(IIPCaptureDriverEx4*);
template void Destroy(ICapabilityField*);
template void Destroy(ICapabilityParameter*);
template void Destroy(IResolutionList*);
template void Destroy(IFrameTimeList*);
template void Destroy(ICapabilityStore*);
template void Destroy(ICapabilitySink*);
template void Destroy(IIPCapabilityQuery*);
