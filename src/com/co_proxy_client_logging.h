#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "com/proxy_client_logging.h"

namespace com {

class CCoProxyClientLogging final : public com_object<IKorvaProxyClientLogging, impl::CProxyClientLogging> {
public:
    using com_object::com_object;

    STDMETHODIMP SetLogPath(BSTR logPath) override;
    STDMETHODIMP SetLogSynchronized(BSTR logPath, BSTR mutexName) override;
};

}  // namespace com
