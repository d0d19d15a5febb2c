# the installer service is put on a host, upgraded and removed again
"$WINE" "$bin/korva-deploy-demo.exe"
