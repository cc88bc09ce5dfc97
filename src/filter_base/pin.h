// Base of a filter's pin.
#pragma once

#include "base/com_ptr.h"
#include "base/lock.h"
#include "filter_base/com_object.h"
#include "filter_base/filter.h"
#include "filter_base/media_type.h"

namespace cam::filter_base {

// A pin has an identity of its own but shares its filter's count: it lives as long as the filter.
class PinUnknown {
  public:
    PinUnknown(const PinUnknown&) = delete;
    PinUnknown& operator=(const PinUnknown&) = delete;

    virtual HRESULT NonDelegatingQueryInterface(REFIID id, void** out);

  protected:
    explicit PinUnknown(Filter& filter) : ownerFilter(filter) {}
    virtual ~PinUnknown() = default;

    HRESULT OuterQueryInterface(REFIID id, void** out) { return NonDelegatingQueryInterface(id, out); }
    ULONG OuterAddRef() { return ownerFilter.AddRef(); }
    ULONG OuterRelease() { return ownerFilter.Release(); }

    Filter& ownerFilter;
};

// Connection and media type of a pin. Connections change on the *caller* or *worker* thread while the filter
// is stopped, under the filter's StateLock(); therefore the *streaming* thread may read the peer without a
// lock.
class Pin : public Implements<PinUnknown, IPin, IQualityControl> {
  public:
    bool IsConnected() const { return static_cast<bool>(connectedPin); }
    IPin* Peer() const { return connectedPin.get(); }
    PIN_DIRECTION Direction() const { return pinDirection; }
    const wchar_t* Name() const { return pinName; }
    // Unique in the filter; the name, unless the pin has one besides.
    const wchar_t* Id() const { return pinId; }
    // For the thread that may change it: under StateLock() while stopped, else *streaming*.
    const MediaType& Type() const CAM_UNCHECKED { return connectionType; }
    // A copy of the connection's type, and whether it is that one. Any thread.
    HRESULT CopyType(MediaType& out);
    bool HasType(const AM_MEDIA_TYPE& type);

    // What a derived class says and is told. All but those of a media type hold StateLock().

    // S_OK: the type would do.
    virtual HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) = 0;
    // The type is now the connection's. Also on the *streaming* thread, for a change in mid-stream.
    virtual HRESULT SetMediaType(const AM_MEDIA_TYPE& type);
    // The types the pin would like, from position 0 on: S_OK, or VFW_S_NO_MORE_ITEMS behind the last.
    virtual HRESULT GetMediaType(int position, MediaType& type);
    // Grows when GetMediaType's list changes.
    virtual LONG MediaTypeVersion() { return 0; }
    // Before a type is agreed on; takes what is needed of the peer.
    virtual HRESULT CheckConnect(IPin* peer);
    // After both sides have agreed on a type. A failure undoes the connection.
    virtual HRESULT CompleteConnect(IPin* peer);
    // Gives back what CheckConnect and CompleteConnect took. Harmless without them.
    virtual void BreakConnect() {}
    // The filter leaves the stopped state, or has entered it.
    virtual HRESULT Active() { return S_OK; }
    virtual void Inactive() {}
    virtual HRESULT Run(REFERENCE_TIME) { return S_OK; }

    HRESULT NonDelegatingQueryInterface(REFIID id, void** out) override;

    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* proposal) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** peer) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

    // IQualityControl
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* sender, Quality quality) override;
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl* sink) override;

  protected:
    // `name` must live as long as the pin.
    Pin(Filter& filter, PIN_DIRECTION direction, const wchar_t* name, const wchar_t* id);

    // Where quality messages go, not owned; null: to whom the filter thinks right.
    IQualityControl* QualitySink() const { return qualitySink; }
    void SetPeer(IPin* peer) { connectedPin = ComPtr<IPin>(peer); }
    // Undoes everything that a connection set up.
    void DropConnection();

  private:
    const wchar_t* const pinName;
    const wchar_t* const pinId;
    const PIN_DIRECTION pinDirection;
    ComPtr<IPin> connectedPin;
    // Guards connectionType alone, against a reader while the *streaming* thread changes it; nothing is
    // called while it is held.
    Lock typeLock;
    MediaType connectionType CAM_GUARDED_BY(typeLock);
    IQualityControl* qualitySink = nullptr;
};

}  // namespace cam::filter_base
