// Prints what an assembly uses of the framework, a type's member or a type in each line.
//     references.exe ASSEMBLY.dll
using System;
using System.Collections.Generic;
using Mono.Cecil;

static class References
{
    private static int Main(string[] arguments)
    {
        SortedDictionary<string, bool> names = new SortedDictionary<string, bool>(StringComparer.Ordinal);
        ModuleDefinition module = ModuleDefinition.ReadModule(arguments[0]);
        foreach (TypeReference type in module.GetTypeReferences()) names[type.FullName] = true;
        foreach (MemberReference member in module.GetMemberReferences())
        {
            string text = member.FullName;
            names[text.Substring(text.IndexOf(' ') + 1)] = true;
        }
        foreach (string name in names.Keys) Console.WriteLine(name);
        return 0;
    }
}
