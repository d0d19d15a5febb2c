echo "-- signing with a throw-away certificate"
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=throw-away -addext extendedKeyUsage=codeSigning \
    -keyout "$try/key.pem" -out "$try/cert.pem" 2>/dev/null
openssl pkcs12 -export -inkey "$try/key.pem" -in "$try/cert.pem" -passout pass:throw-away -out "$try/cert.p12"
cp "$kit/bin/KorvaProxyClient.dll" "$kit.msi" "$try/"
for file in "$try/KorvaProxyClient.dll" "$try/$name.msi"; do
    ! osslsigncode verify -CAfile "$try/cert.pem" -in "$file" >/dev/null 2>&1 || failed "$file is signed without a certificate"
    KORVA_SIGN_CERTIFICATE=$try/cert.p12 KORVA_SIGN_PASSWORD=throw-away sign "$file"
    osslsigncode verify -CAfile "$try/cert.pem" -in "$file" >"$try/verify.log" 2>&1 || { cat "$try/verify.log"; failed "$file: bad signature"; }
done
