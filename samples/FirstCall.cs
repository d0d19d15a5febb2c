// A snapshot from C#. NOT RUN where this kit is built (there is no .NET): read it as a text, and tell us if it does not compile.
//
//   tlbimp ..\sdk\KorvaProxyClient.tlb /out:KorvaProxyClientDllLib.dll /machine:x64
//   csc /platform:x64 /reference:KorvaProxyClientDllLib.dll FirstCall.cs
//
// Needs the DLL registered, or an application manifest that depends on KorvaProxyClient.Assembly.
using System;
using System.Runtime.InteropServices;
using System.Threading;
using KorvaProxyClientDllLib;

static class FirstCall
{
    const string Machine = "6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02"; // "web" of the lab's host

    static void Wait(IKorvaHvAsyncOp operation)
    {
        for (operation.Refresh(); !operation.IsCompleted; operation.Refresh())
            Thread.Sleep(500);
        if (!operation.IsSucceeded)
            throw new InvalidOperationException(operation.ErrDescription);
    }

    [STAThread]
    static int Main(string[] arguments)
    {
        try
        {
            var integrator = new KorvaHvIntegrator();
            integrator.SetEndpoint(arguments.Length > 0 ? arguments[0] : "localhost", arguments.Length > 1 ? int.Parse(arguments[1]) : 2600);
            var password = Environment.GetEnvironmentVariable("KORVA_PASSWORD");  // without it: the caller's own logon
            if (password != null)
                integrator.SetAccount(arguments.Length > 2 ? arguments[2] : @".\operator", password);
            integrator.TestConnection();

            var onhost = integrator.OnhostVss;
            var operation = onhost.BeginSnapshotCreationEx($"<Snapshot><VM ID='{Machine}'/></Snapshot>", "Sample", "FirstCall");
            Wait(operation);
            // The host keeps the snapshot until it is closed: its identifier comes first.
            Guid id = integrator.OffhostVss.GetSnapshotIDByOperationID(operation.OperationID);
            try
            {
                var snapshot = onhost.GetSnapshotByOpID(operation.OperationID);
                foreach (string path in snapshot.EnumVmFiles(Machine))
                    Console.WriteLine(path);
                snapshot.SetVmBackupStatus(Machine, true);
            }
            finally
            {
                onhost.CloseSnapshot(id);
            }
            return 0;
        }
        catch (Exception error)  // not COMException alone: .NET has kinds of its own for some codes
        {
            // A line for each step that failed, the outermost on top.
            Console.Error.WriteLine($"0x{error.HResult:X8}: {error.Message}");
            return 1;
        }
    }
}
