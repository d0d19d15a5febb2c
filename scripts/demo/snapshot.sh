# a backup: a snapshot of a host, its import on a proxy, a restore, change tracking; and what happens when something fails
register_dll
show_lab
# The lab plays both machines: its port as the host's, then as the proxy's.
connection=(--host localhost --port "$port")
web=6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02
reports=6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03
saved=$(windows_path $out/saved)

say "A snapshot of two machines on the host"
console 0 "${connection[@]}" snapshot "<Snapshot Polls='3'><VM ID='$web'/><VM ID='$reports'/></Snapshot>" "$saved"

say "The same snapshot imported on a proxy"
console 0 "${connection[@]}" import "$saved"

say "One machine is restored to another folder"
console 0 "${connection[@]}" restore "$saved" "$reports" 'R:\restored'

say "A round of change tracking, as between two backups"
console 0 "${connection[@]}" track 'D:\vm\web\system.vhd'

say "The host's VSS set-up and its cluster; this time for a script to read"
console 0 "${connection[@]}" vss 'C:\ClusterStorage\Volume1' 'D:\'
console 0 --xml "${connection[@]}" cluster 'Virtual Machine mail'

say "A machine that the cluster does not know"
console 1 "${connection[@]}" cluster 'Virtual Machine unknown'

say "A snapshot that fails"
console 1 "${connection[@]}" snapshot "<Snapshot Fail='The Hyper-V writer timed out.'/>" "$(windows_path $out/failed)"

say "A backup that fails: the machine is reported as failed and the snapshot is closed"
console 0 "${connection[@]}" invoke Lab.SetFailure 'HvGetVMFilesList=The volume D:\ is offline.'
console 1 "${connection[@]}" snapshot "<Snapshot/>" "$(windows_path $out/failed)" "$web"

show_requests
show_log
unregister_dll
