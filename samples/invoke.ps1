# A command for the invoker service from PowerShell (64-bit). NOT RUN where this kit is built (there is no PowerShell): read it as
# a text, and tell us if it does not run. Needs the DLL registered (regsvr32 KorvaProxyClient.dll).
#
#   .\invoke.ps1 -HostName localhost -Port 2600 -Credential (Get-Credential .\operator)
param([string]$HostName = 'localhost', [int]$Port = 2600, [Parameter(Mandatory)][pscredential]$Credential)

$invoker = New-Object -ComObject KorvaProxyClientDll.KorvaProxyInvoker
try {
    $invoker.SetEndpoint($HostName, $Port)
    $invoker.SetAccount($Credential.UserName, $Credential.GetNetworkCredential().Password)
    $invoker.SecureConnect('6.0')
    $invoker.TestConnection('6.0')
    [string]$answer = ''
    $invoker.DoRpc('GetHostInfo', '<Host/>', [ref]$answer)
    "The service answers: $answer"
}
catch {  # not COMException alone: .NET has kinds of its own for some codes
    # A line for each step that failed, the outermost on top.
    Write-Error ('0x{0:X8}: {1}' -f $_.Exception.HResult, $_.Exception.Message)
    exit 1
}
finally {
    [void][System.Runtime.InteropServices.Marshal]::ReleaseComObject($invoker)
}
