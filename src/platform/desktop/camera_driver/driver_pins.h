// The pins of the camera driver.
#pragma once

#include <atomic>

#include "filter_base/category_pin.h"
#include "platform/desktop/camera_driver/source_format.h"

namespace cam::driver {

class CameraDriver;

// Replaces `type` by a picture format of 16 bits a pixel whose block has room for colour masks, as readers of
// still formats expect it; a positive height means that the lowest row comes first. False: out of memory.
bool FillPictureType(const GUID& subtype, PictureSize size, bool topDown, LONGLONG frameTime,
                     filter_base::MediaType& type);

// A pin of one type at a time.
class DriverPin : public filter_base::CategoryPin {
  public:
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, filter_base::MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;

    // A buffer for a whole picture and where it begins. *Streaming*.
    HRESULT GetPictureBuffer(ComPtr<IMediaSample>& sample, BYTE*& bytes);
    // As it comes: without time stamps a renderer shows a picture at once.
    HRESULT Send(IMediaSample& sample);

  protected:
    DriverPin(CameraDriver& owner, const wchar_t* name, const GUID& category);

    virtual bool FillType(filter_base::MediaType& type) const = 0;

    CameraDriver& driver;

  private:
    long PictureBytes() const;  // of the connection's type
};

// Preview, and the capture pin that every capture filter has: nobody is connected to that one.
class PreviewPin final : public DriverPin {
  public:
    enum class Role { Preview, Capture };
    PreviewPin(CameraDriver& owner, Role part);

    HRESULT CheckConnect(IPin* peer) override;

  private:
    bool FillType(filter_base::MediaType& type) const override;

    const Role role;
};

using StillPinBase = filter_base::Implements<DriverPin, IAMStreamConfig>;

// The still sizes are those in which the webcam can run. The one chosen is the webcam's own from the next
// start on.
class StillPin final : public StillPinBase {
  public:
    explicit StillPin(CameraDriver& owner);

    // IAMStreamConfig
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** out) override;
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* count, int* size) override;
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) override;

  private:
    bool FillType(filter_base::MediaType& type) const override;
    HRESULT NewType(PictureSize size, AM_MEDIA_TYPE** out) const;
};

}  // namespace cam::driver
