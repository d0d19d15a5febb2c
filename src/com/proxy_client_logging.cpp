#include "com/proxy_client_logging.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "logging/kbmngr_log_file.h"
#include "logging/log.h"

namespace impl {
namespace {

constexpr std::string_view no_path = "Path to the log file is not specified.";

void use(std::shared_ptr<logging::receiver::log_file_t> receiver) {
    logging::default_log()->set_receiver(std::move(receiver));
    logging::default_log()->set_line_style(logging::console_layout);
}

bool missing_or_empty(const std::optional<std::wstring_view>& text) { return !text || text->empty(); }

}  // namespace

void CProxyClientLogging::SetLogPath(std::optional<std::wstring_view> path) {
    if (!path)
        throw exc::runtime_exc_t(no_path);
    use(std::make_shared<win::kbmngr_log_file_t>(text::narrow(*path)));
}

void CProxyClientLogging::SetLogSynchronized(std::optional<std::wstring_view> path,
                                             std::optional<std::wstring_view> mutex_name) {
    if (missing_or_empty(path))
        throw exc::runtime_exc_t(no_path);
    if (missing_or_empty(mutex_name))
        throw exc::runtime_exc_t("Mutex name is not specified.");
    use(std::make_shared<win::kbmngr_sync_log_file_t>(text::narrow(*path), text::narrow(*mutex_name)));
}

}  // namespace impl
