// The search for device drivers.
#include "emulator/devices.h"
#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kInvalidHandle = 0xFFFFFFFF;
constexpr u32 kSearchByClass = 3;
constexpr u32 kDeviceRecordBytes = 1584;

struct DeviceSearch final : Object {
    std::string Describe() const override { return "device search"; }
    const char* Closer() const override { return "FindClose"; }
    Guid wanted;
    size_t next = 0;
};

bool NextDevice(Process& p, DeviceSearch& search, u32 record) {
    const auto& devices = p.Attachment<Devices>("devices");
    for (; search.next < devices.size(); ++search.next) {
        if (devices[search.next].deviceClass == search.wanted) break;
    }
    if (search.next == devices.size()) {
        p.SetLastError(kErrorNoMoreFiles);
        return false;
    }
    const Device& device = devices[search.next++];
    // Size, device, parent; then the legacy name, the key, the name and the bus name.
    p.machine.Write(record + 4, 0x00CA0000 + static_cast<u32>(search.next));
    p.machine.Write(record + 8, 0u);
    for (size_t i = 0; i < 6; ++i) {
        p.machine.Write(record + 12 + 2 * static_cast<u32>(i),
                        static_cast<u16>(i < device.legacyName.size() ? device.legacyName[i] : u'\0'));
    }
    return true;
}

}  // namespace

void BindDevices(Process& p) {
    p.Bind(kLibrary, "FindFirstDevice", [&p](u32 kind, u32 parameter, u32 record) -> u32 {
        if (kind != kSearchByClass || p.machine.Read<u32>(record) != kDeviceRecordBytes) {
            return p.SetLastError(kErrorInvalidParameter), kInvalidHandle;
        }
        auto search = std::make_shared<DeviceSearch>();
        search->wanted = ReadGuid(p.machine, parameter);
        if (!NextDevice(p, *search, record)) return kInvalidHandle;
        return p.AddHandle(search);
    });
    p.Bind(kLibrary, "FindNextDevice", [&p](u32 handle, u32 record) -> u32 {
        const auto search = p.FromHandle<DeviceSearch>(handle);
        return search && NextDevice(p, *search, record);
    });
}

}  // namespace ce
