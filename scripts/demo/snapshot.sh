# a backup: a snapshot of a host, its import on a proxy, a restore, change tracking; and a snapshot that fails
register_dll
start_lab
# The lab plays both machines: its port as the host's, then as the proxy's.
connection=(--host localhost --port "$port" --account 'LAB\operator')
web=6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02
reports=6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03

say "A snapshot of two machines on the host"
console 0 "${connection[@]}" snapshot "<Snapshot Polls='3'><VM ID='$web'/><VM ID='$reports'/></Snapshot>" \
    "$(windows_path $out)" "$web" "$reports"

say "The same snapshot imported on a proxy"
console 0 "${connection[@]}" import "$(windows_path $out)"

say "The last machine is restored to another folder"
console 0 "${connection[@]}" restore "$(windows_path $out)" "$reports" 'R:\restored'

say "A round of change tracking, as between two backups"
console 0 "${connection[@]}" track 'D:\vm\web\system.vhd'

say "The host's VSS set-up and its cluster"
console 0 "${connection[@]}" vss 'C:\ClusterStorage\Volume1' 'D:\'
console 0 "${connection[@]}" cluster 'Virtual Machine mail'

say "A machine that the cluster does not know"
console 1 "${connection[@]}" cluster 'Virtual Machine unknown'

say "A snapshot that fails"
console 1 "${connection[@]}" snapshot "<Snapshot Fail='The Hyper-V writer timed out.'/>" "$(windows_path $out)"

show_requests
show_log
