// The filters of the platform, played by the host: the camera's capture filter and the video renderer.
#pragma once

#include <map>
#include <optional>

#include "emulator/graph/media.h"

namespace ce {

const Guid kIidBaseFilter = ParseGuid("56A86895-0AD4-11CE-B03A-0020AF0BA770");
const Guid kCategoryPreview = ParseGuid("FB6C4282-0353-11D1-905F-0000C0CC16BA");
const Guid kCategoryStill = ParseGuid("FB6C428A-0353-11D1-905F-0000C0CC16BA");
const Guid kIidStreamConfig = ParseGuid("C6E13340-30AC-11D0-A18C-00A0C9118956");

// Either end of a connection. The other end may be the program's.
class HostPin : public HostObject {
  public:
    HostPin(Process& owner, std::string pinName, bool isOutput, std::vector<VideoFormat> offered);
    u32 Pointer() const { return Interface(kIidPin); }
    bool Connected() const { return peer != 0; }
    void Drop();
    const VideoFormat& Format() const { return format; }
    bool output;

  protected:
    // What a connection needs beyond the type.
    virtual u32 Complete() { return kOk; }
    virtual void Break() {}
    u32 Receive(u32 connector, u32 type);

    std::vector<VideoFormat> formats;
    VideoFormat format;
    u32 peer = 0;
};

// Delivers frames on a thread of its own.
class SourcePin final : public HostPin {
  public:
    SourcePin(Process& owner, std::string pinName, std::vector<VideoFormat> offered, bool ownsAllocator);
    // Tries the formats in their order.
    u32 ConnectTo(u32 receiver, u32 proposal = 0);
    void Commit();
    // One frame, painted and passed on; the receiver's result.
    u32 Deliver(const std::function<void(u8* bytes, const VideoFormat& format)>& paint);
    u32 delivered = 0;
    // The size of a capability record that the driver claims.
    u32 capabilityBytes = 128;
    // Changes a capability's media type before it is handed out.
    std::function<void(u32 type)> onCapability;

  private:
    u32 Complete() override;
    void Break() override;

    bool ownAllocator;
    std::unique_ptr<MemAllocator> own;
    u32 receiver = 0, allocator = 0;
    const std::vector<VideoFormat> capabilities;
};

class RendererPin final : public HostPin {
  public:
    explicit RendererPin(Process& owner);
    std::vector<u8> lastFrame;
    u32 frames = 0;

  private:
    void Break() override;
    u32 allocator = 0;
};

class HostFilter : public HostObject {
  public:
    HostFilter(Process& owner, std::string filterName);
    u32 Pointer() const { return Interface(kIidBaseFilter); }
    std::vector<HostPin*> pins;
    int state = 0;  // 0 stopped, 1 paused, 2 running

  protected:
    virtual void OnStop() {}
    virtual void OnPause() {}
    virtual void OnRun() {}
};

class CaptureFilter final : public HostFilter {
  public:
    explicit CaptureFilter(Process& owner);
    SourcePin preview, still;
    std::u16string driver;  // as the program named it
    struct Property {
        i32 minimum, maximum, step, preset, value;
        u32 flags;     // what the driver can do
        u32 mode = 2;  // as set last
    };
    std::map<u32, Property> videoProperties, cameraProperties;
    // What was set, also in vain, with the property's number in its set.
    struct Setting {
        std::string interface;
        u32 number;
        i32 value;
        u32 mode;
        bool operator==(const Setting&) const = default;
    };
    std::vector<Setting> settings;
    u32 framePause = 33;  // ms between two frames
    // Told after each preview frame how many there have been.
    std::function<void(u32 frames)> onPreviewFrame;
    // What the next frames show.
    std::function<void(u8* bytes, const VideoFormat& format, u32 number)> scene;

  private:
    void OnStop() override;
    void OnPause() override;
    void OnRun() override;
    u32 Trigger(u32 pin, u32 mode);
    void ImplementProperties(const Guid& iid, const std::string& name, std::map<u32, Property>& properties);
    std::vector<std::shared_ptr<Thread>> streams;
};

class Renderer final : public HostFilter {
  public:
    explicit Renderer(Process& owner) : HostFilter(owner, "video renderer"), input(owner) { pins = {&input}; }
    RendererPin input;
};

// A chart whose every pixel is known: used by tests for what they expect.
u16 ChartWord(i32 x, i32 row);
struct ChartYuv {
    u8 y, u, v;
};
ChartYuv ChartLuma(i32 x, i32 row);
void PaintChart(u8* bytes, const VideoFormat& format, u32 number);

}  // namespace ce
