' cscript //nologo host.vbs [HOST PORT ACCOUNT]: a host as a script sees it: a long-running operation, VSS providers, the cluster.
' Needs the DLL registered (regsvr32 KorvaProxyClient.dll) and the 64-bit cscript. The password is taken from KORVA_PASSWORD;
' without it the host sees the caller's own logon.
'
' What VBScript cannot do here, whatever the object: it hands no variable to an argument that is [out] of a type other than
' VARIANT (DoRpc, DoRpcWithBinary, GetTransportableSnapshotInfo, GetVersion, Get), neither holds nor passes a GUID
' (OperationID, GetSnapshotByOpID, the restore manager), makes no array of bytes and reads no element of an array of strings
' (EnumVmFiles). PowerShell, C# and C++ can.
Option Explicit
Dim host, port, account, password, integrator, operation, providers, volumes, cluster
host = "localhost"
port = 2600
account = ".\operator"
If WScript.Arguments.Count > 0 Then host = WScript.Arguments(0)
If WScript.Arguments.Count > 1 Then port = CLng(WScript.Arguments(1))
If WScript.Arguments.Count > 2 Then account = WScript.Arguments(2)
password = CreateObject("WScript.Shell").Environment("PROCESS")("KORVA_PASSWORD")

Sub Pause
    On Error Resume Next  ' Wine's script host cannot sleep
    WScript.Sleep 500
End Sub

Set integrator = CreateObject("KorvaProxyClientDll.KorvaHvIntegrator")
integrator.SetEndpoint host, port
If password <> "" Then integrator.SetAccount account, password
integrator.TestConnection

Set operation = integrator.OnhostVss.BeginSnapshotCreationEx("<Snapshot Fail='The Hyper-V writer timed out.'/>", "Sample", "host.vbs")
operation.Refresh
Do Until operation.IsCompleted
    Pause
    operation.Refresh
Loop
WScript.Echo "Snapshot made: " & operation.IsSucceeded & ". " & operation.ErrDescription

Set providers = integrator.VssInfoCollector.VSSProviders
Do While providers.Next
    WScript.Echo "Provider: " & providers.Current.Name & ", version " & providers.Current.Version
Loop

Set cluster = CreateObject("KorvaProxyClientDll.KorvaHvClusterManager")
cluster.SetEndpoint host, port
If password <> "" Then cluster.SetAccount account, password
Set volumes = cluster.ClusterVolumes
Do While volumes.Next
    WScript.Echo "Volume: " & volumes.Current.MountPoint & ", shared: " & volumes.Current.IsCSV
Loop

' Without "On Error Resume Next" the script ends at a failed call, with the text that is shown here.
On Error Resume Next
cluster.RefreshVMConfig "No such machine"
WScript.Echo "Failed as expected: " & Err.Description
