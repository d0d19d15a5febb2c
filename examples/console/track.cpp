// A round of change tracking: a disk file is registered, its changes are counted, and it is let go again.
#include "commands.h"
#include "integrator.h"
#include "output.h"
#include "steps.h"

namespace {

struct index_t {
    explicit index_t(const win::com_ptr<IChangeIndex>& index) {
        check("GenerationID", index->get_GenerationID(&generation));
        check("CurrentIndex", index->get_CurrentIndex(&current));
    }
    std::string described() const { return text::format("index %1 of generation %2", current, generation); }

    GUID generation{};
    USHORT current = 0;
};

void show_info(const char* method, const win::com_ptr<IFileStandardInfo>& info) {
    win::com_ptr<IChangeIndex> index;
    win::unique_bstr name;
    ULONG block_size = 0, options = 0;
    check("Index", info->get_Index(index.put()));
    check("CTPFileName", info->get_CTPFileName(name.put()));
    check("BlockSize", info->get_BlockSize(&block_size));
    check("FileOptions", info->get_FileOptions(&options));
    const index_t now(index);
    const std::wstring_view kept_in = win::bstr_view(name.get());
    show(method, text::format("%1; blocks of %2 bytes, options %3, in %4", now.described(), block_size, options, kept_in),
         {{"Generation", now.generation},
          {"Index", now.current},
          {"BlockSize", block_size},
          {"Options", options},
          {"TrackingFile", kept_in}});
}

void show_driver(const win::com_ptr<IKorvaHvCtpMngr>& manager) {
    check("Init", manager->Init());
    show("Init", "ok");
    USHORT compatible = 0, current = 0;
    check("GetVersion", manager->GetVersion(&compatible, &current));
    show("GetVersion", text::format("driver %1, compatible down to %2", current, compatible),
         {{"Current", current}, {"Compatible", compatible}});
    win::unique_bstr path;
    check("BasePath", manager->get_BasePath(path.put()));
    show("BasePath", text::narrow(win::bstr_view(path.get())), {{"Path", win::bstr_view(path.get())}});
}

void double_cache(const win::com_ptr<IKorvaHvCtpMngr>& manager, ULONG file) {
    win::com_ptr<IFileCache> cache;
    MIDL_uhyper flat = 0, indirect = 0;
    check("GetFileCache", manager->GetFileCache(file, cache.put()));
    check("MaxFlatSize", cache->get_MaxFlatSize(&flat));
    check("MaxIndirectSize", cache->get_MaxIndirectSize(&indirect));
    const auto show_cache = [&](const char* method) {
        show(method, text::format("flat %1, indirect %2", flat, indirect),
             {{"MaxFlatSize", flat}, {"MaxIndirectSize", indirect}});
    };
    show_cache("GetFileCache");
    flat *= 2;
    check("MaxFlatSize", cache->put_MaxFlatSize(flat));
    check("SetFileCache", manager->SetFileCache(file, cache.get()));
    show_cache("SetFileCache");
}

void track(const win::com_ptr<IKorvaHvCtpMngr>& manager, ULONG file, const win::com_ptr<IChangeIndex>& first) {
    win::com_ptr<IFileStandardInfo> info;
    check("FlushFileChanges", manager->FlushFileChanges(file, info.put()));
    show_info("FlushFileChanges", info);
    stop_if_asked();
    double_cache(manager, file);
    stop_if_asked();

    // As after a backup that failed: the changes since the first index count again.
    check("SetFileCTIndex", manager->SetFileCTIndex(file, first.get()));
    show("SetFileCTIndex", index_t(first).described(), {{"Index", index_t(first).current}});
    stop_if_asked();
    check("GetFileStandardInfo", manager->GetFileStandardInfo(file, info.put()));
    show_info("GetFileStandardInfo", info);
}

}  // namespace

void run_track(const options_t& options) {
    const win::unique_bstr name = win::make_bstr(options.argument(0));
    const ULONG block_size =
        options.arguments.size() > 1 ? read_number("BLOCKSIZE", options.argument(1), 1, 0xFFFFFFFF) : 65536;

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvCtpMngr> manager;
    check("CtpMngr", integrator->get_CtpMngr(manager.put()));
    show_driver(manager);
    stop_if_asked();

    win::com_ptr<IAddFileResult> added;
    ULONG file = 0;
    check("AddFile", manager->AddFile(name.get(), block_size, AddFileOptStoreWithFile, added.put()));
    check("FileID", added->get_FileID(&file));
    run_and_end(
        [&] {
            win::com_ptr<IChangeIndex> first;
            check("Index", added->get_Index(first.put()));
            show("AddFile", text::format("file %1, %2", file, index_t(first).described()), {{"FileID", file}});
            track(manager, file, first);
        },
        [&](bool) {
            check("RemoveFile", manager->RemoveFile(file, RemoveFileOptNone));
            show("RemoveFile", "ok", {{"FileID", file}});
        });
}
