// A round of change tracking: a disk file is registered, its changes are counted, and it is let go again.
#include <stdexcept>

#include "commands.h"
#include "foundation/format.h"
#include "integrator.h"

namespace {

std::string described(const win::com_ptr<IChangeIndex>& index) {
    GUID generation{};
    USHORT current = 0;
    check("GenerationID", index->get_GenerationID(&generation));
    check("CurrentIndex", index->get_CurrentIndex(&current));
    return text::format("index %1 of generation %2", current, generation);
}

void show_info(const char* method, const win::com_ptr<IFileStandardInfo>& info) {
    win::com_ptr<IChangeIndex> index;
    win::unique_bstr name;
    ULONG block_size = 0, options = 0;
    check("Index", info->get_Index(index.put()));
    check("CTPFileName", info->get_CTPFileName(name.put()));
    check("BlockSize", info->get_BlockSize(&block_size));
    check("FileOptions", info->get_FileOptions(&options));
    show(method, text::format("%1; blocks of %2 bytes, options %3, in %4", described(index), block_size, options,
                              win::bstr_view(name.get())));
}

void show_driver(const win::com_ptr<IKorvaHvCtpMngr>& manager) {
    check("Init", manager->Init());
    show("Init", "ok");
    USHORT compatible = 0, current = 0;
    check("GetVersion", manager->GetVersion(&compatible, &current));
    show("GetVersion", text::format("driver %1, compatible down to %2", current, compatible));
    win::unique_bstr path;
    check("BasePath", manager->get_BasePath(path.put()));
    show("BasePath", text::format("%1", win::bstr_view(path.get())));
}

void double_cache(const win::com_ptr<IKorvaHvCtpMngr>& manager, ULONG file) {
    win::com_ptr<IFileCache> cache;
    MIDL_uhyper flat = 0, indirect = 0;
    check("GetFileCache", manager->GetFileCache(file, cache.put()));
    check("MaxFlatSize", cache->get_MaxFlatSize(&flat));
    check("MaxIndirectSize", cache->get_MaxIndirectSize(&indirect));
    show("GetFileCache", text::format("flat %1, indirect %2", flat, indirect));
    check("MaxFlatSize", cache->put_MaxFlatSize(2 * flat));
    check("SetFileCache", manager->SetFileCache(file, cache.get()));
    show("SetFileCache", text::format("flat %1, indirect %2", 2 * flat, indirect));
}

}  // namespace

void run_track(const options_t& options) {
    if (options.arguments.empty() || options.arguments.size() > 2)
        throw std::invalid_argument("track needs the path of a disk file; see --help.");
    const win::unique_bstr name = win::make_bstr(options.arguments[0]);
    const ULONG block_size = options.arguments.size() > 1 ? std::stoul(options.arguments[1]) : 65536;

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvCtpMngr> manager;
    check("CtpMngr", integrator->get_CtpMngr(manager.put()));
    show_driver(manager);

    win::com_ptr<IAddFileResult> added;
    win::com_ptr<IChangeIndex> first;
    ULONG file = 0;
    check("AddFile", manager->AddFile(name.get(), block_size, AddFileOptStoreWithFile, added.put()));
    check("FileID", added->get_FileID(&file));
    check("Index", added->get_Index(first.put()));
    show("AddFile", text::format("file %1, %2", file, described(first)));

    win::com_ptr<IFileStandardInfo> info;
    check("FlushFileChanges", manager->FlushFileChanges(file, info.put()));
    show_info("FlushFileChanges", info);
    double_cache(manager, file);

    // As after a backup that failed: the changes since the first index count again.
    check("SetFileCTIndex", manager->SetFileCTIndex(file, first.get()));
    show("SetFileCTIndex", described(first));
    check("GetFileStandardInfo", manager->GetFileStandardInfo(file, info.put()));
    show_info("GetFileStandardInfo", info);

    check("RemoveFile", manager->RemoveFile(file, RemoveFileOptNone));
    show("RemoveFile", "ok");
}
