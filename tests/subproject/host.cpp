// Compiled by a project that only links the target of the driver.

#include <larkmoor/exports.h>

int main()
{
    korvane::ipcapture::IIPCaptureDriver* const driver = CreateIPCapture();
    DeleteIPCapture(driver);
    return driver == nullptr ? 1 : 0;
}
