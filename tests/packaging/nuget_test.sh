#!/usr/bin/env bash
# C# projects of somebody else's take the NuGet package from a folder: restored, built and run by the .NET SDK for Windows; for .NET Core, and for
# the .NET Framework in both widths, which has the library from the package's targets, also by way of another project or package. Called by
# scripts/test-packages.sh.
#
#   nuget_test.sh PACKAGES BIN RUN DOTNET NUGET    the .nupkg's folder, that of the device kit, scripts/host.sh, npm packages of the SDK and of NuGet
set -euo pipefail
packages=$(readlink -f "$1") bin=$(readlink -f "$2") run=$(readlink -f "$3") dotnet=$(readlink -m "$4") nuget=$(readlink -m "$5")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
for program in "$dotnet" "$nuget"; do
    [ -f "$program" ] || { echo "nuget_test: skipped: $program is missing; scripts/setup.sh packages fetches it"; exit 77; }
done
sdk=$root/build/dotnet-sdk
if [ ! -d "$sdk" ]; then
    mkdir -p "$sdk.part"
    tar -xzf "$dotnet" -C "$sdk.part" --strip-components=1
    mv "$sdk.part" "$sdk"
fi
folder=$root/build/nuget
rm -rf "$folder" && mkdir -p "$folder/feed" && cd "$folder"
cp "$packages"/*.nupkg feed/
cp "$root/examples/TakePictures.cs" .
windows() { printf 'Z:%s' "${1//\//\\}"; }
cat >consumer.csproj <<END
<Project Sdk="Microsoft.NET.Sdk">
  <PropertyGroup>
    <OutputType>Exe</OutputType>
    <TargetFramework>netcoreapp2.2</TargetFramework>
    <TreatWarningsAsErrors>true</TreatWarningsAsErrors>
  </PropertyGroup>
  <ItemGroup>
    <PackageReference Include="Ocellus" Version="*"/>
  </ItemGroup>
</Project>
END
cat >nuget.config <<END
<configuration>
  <packageSources><clear/><add key="local" value="$(windows "$folder/feed")"/></packageSources>
</configuration>
END
# No compiler and no builder stays to serve the next one.
export OCELLUS_WINE_PREFIX=$root/build/wine-nuget DOTNET_CLI_TELEMETRY_OPTOUT=1 MSBUILDDISABLENODEREUSE=1 UseSharedCompilation=false
NUGET_PACKAGES=$(windows "$folder/packages")
export NUGET_PACKAGES
"$run" "$bin/camctl.exe" --version # makes the prefix, and the kit its camera
export OCELLUS_REGISTER=0
cp "$bin/launch.exe" "$sdk/"
"$run" "$sdk/dotnet.exe" build consumer.csproj -o "$(windows "$folder/out")" </dev/null >build.log 2>&1 || { cat build.log; exit 1; }
for picture in a.jpg b.png; do
    "$run" "$sdk/dotnet.exe" "$(windows "$folder/out/consumer.dll")" "$(windows "$folder/$picture")" </dev/null
    identify -regard-warnings "$picture"
done

# The .NET Framework's own assemblies are not to be had here: Mono's describe it to the compiler, and .NET Core runs what comes of it.
project() { # FILE OUTPUT WIDTH REFERENCE
    cat >"$1" <<END
<Project Sdk="Microsoft.NET.Sdk">
  <PropertyGroup>
    <OutputType>$2</OutputType>
    <TargetFramework>net48</TargetFramework>
    <PlatformTarget>$3</PlatformTarget>
    <FrameworkPathOverride>$(windows /usr/lib/mono/4.5)</FrameworkPathOverride>
    <DisableImplicitFrameworkReferences>true</DisableImplicitFrameworkReferences>
    <TreatWarningsAsErrors>true</TreatWarningsAsErrors>
  </PropertyGroup>
  <ItemGroup>
    $4
    <Reference Include="System"/>
  </ItemGroup>
</Project>
END
}
for width in x64 x86; do
    mkdir "$folder/$width"
    cp TakePictures.cs "$width/"
    project "$width/framework.csproj" Exe $width '<PackageReference Include="Ocellus" Version="*"/>'
    "$run" "$sdk/dotnet.exe" build "$(windows "$folder/$width/framework.csproj")" -o "$(windows "$folder/$width/out")" </dev/null >build.log 2>&1 ||
        { cat build.log; exit 1; }
    cmp "$width/out/ocellus.dll" packages/ocellus/*/runtimes/win-$width/native/ocellus.dll
done
cat >x64/out/framework.runtimeconfig.json <<END
{"runtimeOptions": {"framework": {"name": "Microsoft.NETCore.App", "version": "2.2.2"}}}
END
"$run" "$sdk/dotnet.exe" exec --runtimeconfig "$(windows "$folder/x64/out/framework.runtimeconfig.json")" \
    "$(windows "$folder/x64/out/framework.exe")" "$(windows "$folder/framework.jpg")" </dev/null
identify -regard-warnings framework.jpg

# Programs that know nothing of the package: what they reference does, a project or another package. The SDK describes the projects, and a NuGet
# that reads buildTransitive/ restores them. A project for no width in particular has the 64-bit library, which must not reach a 32-bit program.
mkdir -p nuget transitive/{middle,wrapper,by_project,by_package} && cd transitive
tar -xzf "$nuget" -C ../nuget --strip-components=1
newNuget() { HOME=$PWD mono ../nuget/nuget-5.8.0.exe "$@" >nuget.log 2>&1 || { cat nuget.log; exit 1; }; }
version=$(basename ../feed/Ocellus.*.nupkg .nupkg | sed 's/^Ocellus\.//')
cat >wrapper/Wrapper.nuspec <<END
<package><metadata>
  <id>Wrapper</id> <version>1.0.0</version> <authors>somebody</authors> <description>Needs Ocellus</description>
  <dependencies><group targetFramework="net48"><dependency id="Ocellus" version="$version"/></group></dependencies>
</metadata></package>
END
newNuget pack wrapper/Wrapper.nuspec -OutputDirectory ../feed -NoDefaultExcludes
project middle/middle.csproj Library AnyCPU "<PackageReference Include=\"Ocellus\" Version=\"$version\"/>"
project by_project/by_project.csproj Exe x86 '<ProjectReference Include="..\middle\middle.csproj"/>'
project by_package/by_package.csproj Exe x64 '<PackageReference Include="Wrapper" Version="1.0.0"/>'
echo 'public static class Middle { public const int Code = 0; }' >middle/middle.cs
echo 'static class Program { static int Main() { return Middle.Code; } }' >by_project/program.cs
echo 'static class Program { static int Main() { return 0; } }' >by_package/program.cs
for how in by_project:x86 by_package:x64; do
    name=${how%:*}
    file=$(windows "$PWD/$name/$name.csproj")
    dotnet() { "$run" "$sdk/dotnet.exe" "$@" </dev/null >build.log 2>&1 || { cat build.log; exit 1; }; }
    dotnet msbuild "$file" -t:GenerateRestoreGraphFile -p:RestoreGraphOutputPath="$(windows "$PWD/windows.dg")"
    # The same in this machine's paths, without the folders of a user on Windows.
    python3 - windows.dg $name.dg "$folder/feed" <<'END'
import json
import sys

graph = json.loads(open(sys.argv[1]).read().replace("Z:\\\\", "/").replace("\\\\", "/"))
for project in graph["projects"].values():
    project["restore"]["fallbackFolders"] = []
    project["restore"]["configFilePaths"] = []
    project["restore"]["sources"] = {sys.argv[3]: {}}
json.dump(graph, open(sys.argv[2], "w"))
END
    newNuget restore $name.dg
    dotnet publish --no-restore "$file"
    for place in . publish; do
        cmp $name/bin/Debug/net48/$place/ocellus.dll ../packages/ocellus/*/runtimes/win-${how#*:}/native/ocellus.dll
    done
done
echo passed
