# commands go from a console through COM to the lab and back; then two of them fail
register_dll
show_lab

say "The console calls the invoker service through COM"
console 0 --port "$port" invoke GetHostInfo '<Host name="hv-01"/>'
if grep -q 'serves the endpoint mapper' "$out/lab.log"; then
    say "The same without a port: the endpoint mapper knows it"
    console 0 --port 0 invoke GetHostInfo '<Host name="hv-01"/>'
fi
say "A command that the service fails: the error object carries the service's own text"
console 1 --port "$port" invoke Lab.Fail 'The volume C:\ClusterStorage\Volume1 is offline.'
say "A port that nobody serves: the error object names the operation, beneath it the cause"
console 1 --port 1 invoke

show_requests
show_log
unregister_dll
