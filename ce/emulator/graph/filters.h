// The filters of the platform, played by the host: the camera's capture filter and the video renderer.
#pragma once

#include "emulator/graph/media.h"
#include "look.h"
#include "scenario.h"
#include "scene/scene.h"

namespace ce {

const Guid kIidBaseFilter = ParseGuid("56A86895-0AD4-11CE-B03A-0020AF0BA770");
const Guid kCategoryPreview = ParseGuid("FB6C4282-0353-11D1-905F-0000C0CC16BA");
const Guid kCategoryStill = ParseGuid("FB6C428A-0353-11D1-905F-0000C0CC16BA");
const Guid kIidStreamConfig = ParseGuid("C6E13340-30AC-11D0-A18C-00A0C9118956");

// Either end of a connection. The other end may be the program's.
class HostPin : public HostObject {
  public:
    HostPin(Process& owner, std::string pinName, bool isOutput, std::vector<VideoFormat> offered,
            Listed isListed = Listed::Never);
    u32 Pointer() const { return Interface(kIidPin); }
    u32 Peer() const { return peer; }  // 0: none
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

// Delivers frames on a thread of its own. `isGone`: the camera has been lost.
class SourcePin final : public HostPin {
  public:
    SourcePin(Process& owner, std::string pinName, std::string shortName, bool ownsAllocator,
              const bool& isGone);
    // What it can have, and the one of them that it has. Not while it is connected.
    void Offer(std::vector<VideoFormat> all, size_t first);
    u32 ConnectTo(u32 receiver, u32 proposal = 0);
    void Commit();
    // One frame, painted and passed on; the receiver's result.
    u32 Deliver(const std::function<void(u8* bytes, const VideoFormat& format)>& paint);
    // The size of a capability record that the driver claims.
    u32 capabilityBytes = 128;
    // Changes a capability's media type before it is handed out.
    std::function<void(u32 type)> onCapability;

  private:
    u32 Complete() override;
    void Break() override;
    u32 Refusal(const std::string& call) override;

    const std::string part;
    const bool& gone;
    const bool ownAllocator;
    std::unique_ptr<MemAllocator> own;
    u32 receiver = 0, allocator = 0;
    std::vector<VideoFormat> capabilities;
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

// `logName`: what its calls are told apart by.
class HostFilter : public HostObject {
  public:
    HostFilter(Process& owner, std::string filterName, std::string logName, Listed isListed);
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
    // What it plays from the next time on that it is created.
    kit::Scenario scenario;
    bool lost = false;
    SourcePin preview, still;
    std::u16string driver;  // as the program named it
    kit::PropertyTable properties;
    u32 previewFrames = 0, stillPictures = 0;
    // Told after each preview frame.
    std::function<void()> onPreviewFrame;
    // As a camera is that has just been created; nothing when the program has it already.
    void Begin();

  private:
    // What a stream shows.
    struct View {
        std::unique_ptr<kit::Scene> scene = kit::OpenChart();
        kit::Look look;
    };
    u32 Show(SourcePin& pin, View& view, bool isStill);
    void OnStop() override;
    void OnRun() override;
    void OnPause() override;
    u32 Refusal(const std::string& call) override;
    u32 Load(u32 bag);
    u32 Trigger(u32 pin, u32 mode);
    void StreamPreview();
    void StreamStills();
    void ImplementProperties(const Guid& iid, const std::string& name, kit::PropertySet set);

    std::vector<std::shared_ptr<Thread>> streams;
    View previewView, stillView;
    u32 frame = 0;  // the next preview frame's number
    u32 triggers = 0;
    i32 cameraId = 0;
    bool loaded = false;
};

class Renderer final : public HostFilter {
  public:
    explicit Renderer(Process& owner)
        : HostFilter(owner, "video renderer", "VideoRenderer", Listed::Unseen), input(owner) {
        pins = {&input};
    }
    RendererPin input;
};

}  // namespace ce
