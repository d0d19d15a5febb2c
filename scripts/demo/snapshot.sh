# a backup: a snapshot of a host with its machines' files, its import on a proxy, and a snapshot that fails
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

say "A snapshot that fails"
console 1 "${connection[@]}" snapshot "<Snapshot Fail='The Hyper-V writer timed out.'/>" "$(windows_path $out)"

show_requests
show_log
