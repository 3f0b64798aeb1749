#include "runtime/client_gate.h"

namespace korvane
{

thread_local const CClientGateBase* CClientGateBase::current = nullptr;

} // namespace korvane
