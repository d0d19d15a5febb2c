#include "com/co_proxy_client_logging.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoProxyClientLogging::SetLogPath(BSTR logPath) {
    return guarded([&] { impl().SetLogPath(text_if_given(logPath)); });
}

STDMETHODIMP CCoProxyClientLogging::SetLogSynchronized(BSTR logPath, BSTR mutexName) {
    return guarded([&] { impl().SetLogSynchronized(text_if_given(logPath), text_if_given(mutexName)); });
}

}  // namespace com
