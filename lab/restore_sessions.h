#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace lab {

// How far a restore session has come. The order is the only way through; Close may come at any time.
enum class restore_stage_t { created, imported, prepared, reported, finished };

struct restore_session_t {
    GUID id{};
    restore_stage_t stage = restore_stage_t::created;
    std::wstring vm;
    std::wstring files_xml;    // "FilesList" of the files that come back
    std::wstring destination;  // folder that they go to; empty: where they were
    bool succeeded = false;    // what the console reported
};

// The restore sessions of a host. Every method throws exc::runtime_exc_t where the session is unknown or the call comes out of
// order.
class restore_sessions_t {
public:
    GUID create();
    void import_config(const GUID& id, const std::wstring& backup_document, const std::wstring& writer_document);
    void prepare(const GUID& id, const std::wstring& vm, const std::wstring& files_xml, const std::wstring& destination);
    // The same from one text, <RestoreSpec VMID="..." NewDestPath="...">, whose content is the "FilesList".
    void prepare(const GUID& id, const std::wstring& specification);
    // <RestorePaths VMID="..."><File Source="..." Target="..."/>...</RestorePaths>: where each file was and where it goes.
    std::wstring paths_xml(const GUID& id);
    void report(const GUID& id, bool succeeded);
    void finish(const GUID& id);
    void close(const GUID& id);

    const std::vector<restore_session_t>& sessions() const { return sessions_; }

private:
    restore_session_t& find(const GUID& id);
    restore_session_t& step(const GUID& id, restore_stage_t from, restore_stage_t to, const char* what);

    std::vector<restore_session_t> sessions_;
};

}  // namespace lab
