// Makes a program that the desktop's compiler made one that the Compact Framework loads, and every .NET of the desktop as well: its references to
// the framework become the Compact Framework's, which the desktop takes for its own.
//     mono retarget.exe IN.exe OUT.exe
// The same program gives the same bytes: what the compiler put into it of time and chance is replaced.
using System;
using System.IO;
using System.Security.Cryptography;
using System.Text;
using Mono.Cecil;

static class Retarget
{
    private static readonly byte[] CompactFramework = { 0x96, 0x9D, 0xB8, 0x05, 0x3D, 0x33, 0x22, 0xAC };
    private const int HeaderOffset = 0x3C; // in a file: where its headers are; 8 bytes into these is the time

    private static int Main(string[] arguments)
    {
        ModuleDefinition module = ModuleDefinition.ReadModule(arguments[0]);
        module.Runtime = TargetRuntime.Net_2_0;
        foreach (AssemblyNameReference reference in module.AssemblyReferences)
        {
            reference.Version = new Version(2, 0, 0, 0);
            reference.PublicKeyToken = CompactFramework;
            reference.IsRetargetable = true;
        }
        module.Assembly.CustomAttributes.Clear();
        module.Mvid = new Guid(MD5.Create().ComputeHash(Encoding.UTF8.GetBytes(module.Assembly.FullName)));
        module.Write(arguments[1]);
        byte[] file = File.ReadAllBytes(arguments[1]);
        Array.Clear(file, BitConverter.ToInt32(file, HeaderOffset) + 8, 4);
        File.WriteAllBytes(arguments[1], file);
        return 0;
    }
}
