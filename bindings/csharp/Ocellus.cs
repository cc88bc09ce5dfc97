// The camera access library for C#: one file, to be compiled into a program for Windows CE (.NET Compact Framework 2.0 or 3.5) as for the
// desktop (.NET Framework, .NET). Language level 3. The same compiled program runs on both; ocellus.dll stands beside it or in \Windows.
//
//     using (Camera camera = new Camera())
//     {
//         camera.PictureTaken += delegate { ... };     // the file is there
//         camera.Open(panel.Handle);                   // preview is drawn into the panel
//         camera.StartPreview();
//         camera.TakePicture(@"\My Documents\a.jpg");
//         ...
//     }
//
// Threads: as cam.h says, calls may come from any thread, but not two at the same time. Events come on a thread of the library or of this
// class, or where Dispatch takes them. A handler that runs on the library's thread (Dispatch is null) must not call the camera.
// Errors: CameraException, whose message names the call, the result and what to do about it.
using System;
using System.Runtime.InteropServices;
using System.Threading;

namespace Ocellus
{
    public enum CameraType { DirectShow = 1, Imager = 2 }

    public enum CameraState { None, Initialised, Stopped, Previewing, Paused, StillTriggered }

    // Which exist, their ranges and units are the camera driver's.
    public enum CameraProperty
    {
        CameraId = -1, Brightness, Contrast, Hue, Saturation, Sharpness, Gamma, ColorEnable, WhiteBalance, BacklightCompensation,
        Pan, Tilt, Roll, Zoom, Exposure, Iris, Focus, Flash,
        FocusStep = 59, FocusMaximum, FocusMinimum, FocusFixed, Last = 80
    }

    [Flags]
    public enum PropertyFlags { None = 0, Auto = 1, Manual = 2 }

    public enum TextPosition
    {
        TopLeft = 0, TopCentre = 1, TopRight = 2, MiddleLeft = 4, MiddleCentre = 5, MiddleRight = 6, BottomLeft = 8, BottomCentre = 9,
        BottomRight = 10
    }

    // Colours of a text's outline and background.
    public enum StampColor
    {
        InverseOfText, Black, Grey, Silver, White, Red, Magenta, Orange, Yellow, Brown, Green, Blue, Cyan, Violet, None = 15
    }

    public struct PropertyRange
    {
        public int Minimum, Maximum, Step, Default;
        public PropertyFlags Flags;  // what the camera can do; may be both
    }

    public struct Resolution
    {
        public int Width, Height;  // pixels

        public override string ToString()
        {
            return Width + " x " + Height;
        }
    }

    public sealed class CameraException : Exception
    {
        private readonly int result;

        public CameraException(string call, int result) : base(Describe(call, result))
        {
            this.result = result;
        }

        // A camResult (cam.h) or a negative HRESULT.
        public int Result { get { return result; } }

        private static string Describe(string call, int result)
        {
            string text = result < 0 ? "0x" + result.ToString("X8") : result.ToString();
            return call + " failed with " + text + ": " + Reason(result);
        }

        private static string Reason(int result)
        {
            switch (unchecked((uint)result))
            {
                case 1: return "no camera is open, or its type is unknown; call Open first";
                case 3: return "the camera does not know this property, resolution, mode or file name extension";
                case 8: return "the picture could not be triggered; start preview once before the first picture";
                case 10: return "the camera refused; if it is not shut down, close and open it";
                case 0x80070012: return "there is no camera driver; check that the camera is switched on in the system's settings";
                case 0x80040154: return "a class is not registered; register ocellus.dll, and check the camera's driver";
                case 0x800401F0: return "no thread is in COM's multithreaded apartment; load the library from a thread with [MTAThread]";
                case 0x8007007E: return "a library is missing; for the imager put Imvoxa.dll beside ocellus.dll";
                case 0x8007007F: return "a library is another version than expected; install those that belong together";
                case 0x8007001F: case 0x800705AA: return "the camera is in use; close the other program";
                case 0x80070005: return "access denied; allow desktop programs to use the camera in the system's privacy settings";
                default: return "see cam.h for the results of this function";
            }
        }
    }

    // Takes work to another thread, without waiting for it: with Windows Forms
    //     camera.Dispatch = delegate(ThreadStart work) { form.BeginInvoke(work); };
    // Never Invoke, which waits: the library's thread must not wait for a thread that may be in the library.
    public delegate void Dispatcher(ThreadStart work);

    public delegate void FrameHandler(Camera camera, Frame frame);

    public delegate void FormatHandler(Camera camera, FrameFormat format);

    public delegate void ErrorHandler(Exception error);

    // A frame's pixels. With a Dispatch they are a copy; else Pointer is valid until the handler returns, and what a handler of
    // StillImage changes there is stored.
    public sealed class Frame
    {
        internal IntPtr pointer;
        internal byte[] copy;
        internal int size, width, height, stride;

        public IntPtr Pointer { get { return pointer; } }  // zero where the pixels are a copy
        public int Size { get { return size; } }           // bytes
        public int Width { get { return width; } }         // pixels
        public int Height { get { return height; } }       // rows; below 0: the topmost row comes first
        public int Stride { get { return stride; } }       // bytes from one row to the next

        // Row by row as the frame stands in memory.
        public byte[] GetBytes()
        {
            if (copy == null)
            {
                copy = new byte[size];
                Marshal.Copy(pointer, copy, 0, size);
            }
            return copy;
        }
    }

    public struct FrameFormat
    {
        public int Width, Height, SampleSize, Stride;  // as in Frame
        public int Code;                               // CAM_FORMAT_... in cam.h
        public int FramesPerSecond;                    // 0: the driver does not say
    }

    // The library has one current camera in a process: open one Camera at a time.
    public sealed class Camera : IDisposable
    {
        public const int StillCapturedMessage = 2623;

        // Pictures that have been taken, their files closed; comes also when a file could not be written: look at it.
        public event EventHandler PictureTaken
        {
            add { pictureTaken += value; }
            remove { pictureTaken -= value; }
        }

        // Each preview frame, RGB 5-5-5 (imager: one byte of grey a pixel, the topmost row first).
        public event FrameHandler PreviewFrame
        {
            add { previewFrame += value; if (isOpen) Check("camRegisterPreviewCallback", Native.RegisterPreview(onPreview)); }
            remove { previewFrame -= value; }
        }

        // Each still picture before it is stored, RGB 5-6-5.
        public event FrameHandler StillImage
        {
            add { stillImage += value; if (isOpen) Check("camRegisterStillImageCallback", Native.RegisterStill(onStill)); }
            remove { stillImage -= value; }
        }

        // The preview's format, each time it starts.
        public event FormatHandler FormatChanged
        {
            add { formatChanged += value; if (isOpen) Check("camRegisterMediaTypeCallback", Native.RegisterMediaType(onFormat)); }
            remove { formatChanged -= value; }
        }

        // Where events are raised; null: on the thread that they come from. Set it before Open.
        public Dispatcher Dispatch;

        // Events are written out: what a compiler makes of short ones calls what the Compact Framework lacks.
        private EventHandler pictureTaken;
        private FrameHandler previewFrame, stillImage;
        private FormatHandler formatChanged;
        private static ErrorHandler unhandledError;
        // The library keeps pointers to these until the process ends: they must outlive every camera.
        private static Camera current;
        private static readonly Native.FrameCallback onPreview = OnPreview, onStill = OnStill;
        private static readonly Native.FormatCallback onFormat = OnFormat;
        private readonly MessageWindow messages;
        private bool isOpen;

        public Camera()
        {
            messages = new MessageWindow(OnMessage);
        }

        public static string Revision
        {
            get
            {
                char[] text = new char[14];
                Check("camGetDllRevision", Native.GetDllRevision(text));
                return new string(text, 0, Array.IndexOf(text, '\0'));
            }
        }

        // The names of the camera profiles in an XML document, null for each that is none; empty when it cannot be read.
        public static string[] GetProfiles(string path)
        {
            const int Slots = 32;
            IntPtr block = IntPtr.Zero;
            // The library's reader needs the multithreaded apartment, where a thread with windows is not, and a new one is.
            Thread reader = new Thread(delegate() { Native.GetProfiles(path, ref block); });
            reader.Start();
            reader.Join();
            if (block == IntPtr.Zero) return new string[0];
            string[] names = new string[Slots];
            IntPtr previous = IntPtr.Zero;
            for (int i = 0; i < Slots; ++i)
            {
                IntPtr name = Marshal.ReadIntPtr(block, i * IntPtr.Size);
                if (name == IntPtr.Zero) continue;
                names[i] = Marshal.PtrToStringUni(name);
                if (name != previous && previous != IntPtr.Zero) Native.Free(previous);  // neighbours may share one
                previous = name;
            }
            if (previous != IntPtr.Zero) Native.Free(previous);
            Native.Free(block);
            return names;
        }

        // The window's client area shows the preview. It must live until Close has returned.
        public void Open(IntPtr ownerWindow)
        {
            Open(ownerWindow, CameraType.DirectShow, null, null);
        }

        // settingsPath and settingsSection: an INI or XML file and its section, or null.
        public void Open(IntPtr ownerWindow, CameraType type, string settingsPath, string settingsSection)
        {
            if (current != null && current != this) throw new InvalidOperationException("another Camera is open; close it first");
            messages.Start();
            current = this;
            int result = Native.Select(ownerWindow, settingsPath, settingsSection, (int)type);
            if (result != 0)
            {
                Close();
                throw new CameraException("camSelect", result);
            }
            isOpen = true;
            Check("camSetEventsWindow", Native.SetEventsWindow(messages.Handle));
            Check("camRegisterPreviewCallback", Native.RegisterPreview(previewFrame == null ? null : onPreview));
            Check("camRegisterStillImageCallback", Native.RegisterStill(stillImage == null ? null : onStill));
            Check("camRegisterMediaTypeCallback", Native.RegisterMediaType(formatChanged == null ? null : onFormat));
        }

        public void Close()
        {
            if (current != this) return;
            const int NotInitialised = 1;
            int result = Native.ShutDown();
            if (result != 0 && result != NotInitialised) throw new CameraException("camShutDown", result);
            isOpen = false;
            current = null;
        }

        public void Dispose()
        {
            Close();
            messages.Stop();
        }

        public void StartPreview()
        {
            Check("camStartPreview", Native.StartPreview());
        }

        public void StopPreview()
        {
            Check("camStopPreview", Native.StopPreview());
        }

        public CameraState State
        {
            get
            {
                int state = 0;
                Check("camGetState", Native.GetState(ref state));
                return (CameraState)state;
            }
        }

        // PictureTaken follows. The extension chooses the format: .bmp, .jpg, .png, .tif; null stores nothing. mode, 0 to 2: JPEG quality
        // level or TIFF threshold. A full path: the library knows no other folder than the system's.
        public void TakePicture(string file, int mode)
        {
            Check("camSnapPicture", Native.SnapPicture(Keep(file), mode));
        }

        public void TakePicture(string file)
        {
            TakePicture(file, 0);
        }

        // With text stamped into it, lines separated by "\n". color is 0xBBGGRR; font is an HFONT that lives until the picture has been
        // taken, zero: the system's own.
        public void TakePicture(string file, int mode, string text, TextPosition position, int color, StampColor outline,
                                StampColor background, IntPtr font)
        {
            UIntPtr colors = new UIntPtr((uint)color & 0xFFFFFF | (uint)outline << 24 | (uint)background << 28);
            GCHandle pinned = GCHandle.Alloc((text + "\0").ToCharArray(), GCHandleType.Pinned);
            try
            {
                Check("camSnapPictureWithText", Native.SnapPictureWithText(Keep(file), mode, pinned.AddrOfPinnedObject(),
                    new IntPtr(text.Length), new IntPtr((int)position), colors, font));
            }
            finally
            {
                pinned.Free();
            }
        }

        public PropertyRange GetRange(CameraProperty property)
        {
            PropertyRange range = new PropertyRange();
            int flags = 0;
            Check("camGetPropertyRange", Native.GetPropertyRange((int)property, ref range.Minimum, ref range.Maximum, ref range.Step,
                                                                 ref range.Default, ref flags));
            range.Flags = (PropertyFlags)flags;
            return range;
        }

        public int GetProperty(CameraProperty property, out PropertyFlags flags)
        {
            int value = 0, bits = 0;
            Check("camGetProperty", Native.GetProperty((int)property, ref value, ref bits));
            flags = (PropertyFlags)bits;
            return value;
        }

        public void SetProperty(CameraProperty property, int value, PropertyFlags flags)
        {
            Check("camSetProperty", Native.SetProperty((int)property, value, (int)flags));
        }

        // Of still pictures.
        public Resolution[] GetResolutions()
        {
            int count = 0;
            Check("camGetResolutionCount", Native.GetResolutionCount(ref count));
            Resolution[] all = new Resolution[count];
            for (int i = 0; i < count; ++i) all[i] = GetResolution(i);
            return all;
        }

        // -1: the current one.
        public Resolution GetResolution(int index)
        {
            Resolution resolution = new Resolution();
            Check("camGetResolutionDimensions", Native.GetResolutionDimensions(ref resolution.Height, ref resolution.Width, index));
            return resolution;
        }

        public void SetResolution(int index)
        {
            Check("camSetResolution", Native.SetResolution(index));
        }

        private static void Check(string call, int result)
        {
            if (result != 0) throw new CameraException(call, result);
        }

        // The imager camera reads the file's name after the call has returned, until the picture has been taken.
        private GCHandle keptFile;

        private IntPtr Keep(string file)
        {
            if (keptFile.IsAllocated) keptFile.Free();
            if (file == null) return IntPtr.Zero;
            keptFile = GCHandle.Alloc((file + "\0").ToCharArray(), GCHandleType.Pinned);
            return keptFile.AddrOfPinnedObject();
        }

        private void Raise(ThreadStart work)
        {
            Dispatcher dispatch = Dispatch;
            if (dispatch == null) work(); else dispatch(work);
        }

        private void RaiseFrame(FrameHandler handler, IntPtr pointer, int size, int height, int width, int stride)
        {
            if (handler == null) return;
            Frame frame = new Frame();
            frame.pointer = pointer;
            frame.size = size;
            frame.height = height;
            frame.width = width;
            frame.stride = stride;
            if (Dispatch != null)
            {
                frame.GetBytes();
                frame.pointer = IntPtr.Zero;
            }
            Raise(delegate { handler(this, frame); });
        }

        // An exception must not leave through the library's thread, which knows none: it would end the process without a word. It is
        // told to UnhandledError, if somebody listens, and else lost.
        public static event ErrorHandler UnhandledError
        {
            add { unhandledError += value; }
            remove { unhandledError -= value; }
        }

        private static void Guard(ThreadStart work)
        {
            try
            {
                work();
            }
            catch (Exception error)
            {
                ErrorHandler handler = unhandledError;
                if (handler != null) handler(error);
            }
        }

        private static void OnPreview(IntPtr frame, int size, int height, int width, int stride)
        {
            Camera camera = current;
            if (camera != null) Guard(delegate { camera.RaiseFrame(camera.previewFrame, frame, size, height, width, stride); });
        }

        private static void OnStill(IntPtr frame, int size, int height, int width, int stride)
        {
            Camera camera = current;
            if (camera != null) Guard(delegate { camera.RaiseFrame(camera.stillImage, frame, size, height, width, stride); });
        }

        private static void OnFormat(int height, int width, int sampleSize, int stride, int code, int framesPerSecond)
        {
            Camera camera = current;
            if (camera == null || camera.formatChanged == null) return;
            FrameFormat format = new FrameFormat();
            format.Height = height;
            format.Width = width;
            format.SampleSize = sampleSize;
            format.Stride = stride;
            format.Code = code;
            format.FramesPerSecond = framesPerSecond;
            FormatHandler handler = camera.formatChanged;
            Guard(delegate { camera.Raise(delegate { handler(camera, format); }); });
        }

        private void OnMessage()
        {
            EventHandler handler = pictureTaken;
            if (handler != null) Guard(delegate { Raise(delegate { handler(this, EventArgs.Empty); }); });
        }
    }

    // A window that nobody sees, on a thread of its own, which the library tells of finished pictures.
    internal sealed class MessageWindow
    {
        private readonly ThreadStart onMessage;
        private readonly ManualResetEvent ready = new ManualResetEvent(false);
        private Thread thread;
        private IntPtr handle;

        public MessageWindow(ThreadStart onMessage)
        {
            this.onMessage = onMessage;
        }

        public IntPtr Handle { get { return handle; } }

        public void Start()
        {
            if (thread != null) return;
            thread = new Thread(Run);
            thread.IsBackground = true;
            thread.Start();
            ready.WaitOne();
            if (handle == IntPtr.Zero) throw new InvalidOperationException("no window for the library's messages could be made");
        }

        public void Stop()
        {
            if (thread == null) return;
            Native.PostMessage(handle, Native.Quit);
            thread.Join();
            thread = null;
            handle = IntPtr.Zero;
            ready.Reset();
        }

        private void Run()
        {
            handle = Native.CreateWindow();
            ready.Set();
            if (handle == IntPtr.Zero) return;
            Native.Message message = new Native.Message();
            while (Native.GetMessage(ref message) && message.message != Native.Quit)
            {
                if (message.message == Camera.StillCapturedMessage) onMessage(); else Native.Dispatch(ref message);
            }
            Native.DestroyWindow(handle);
        }
    }

    // The functions as they are exported. On Windows CE there is one calling convention and one character set; the runtime library and
    // the window functions have other names there than on the desktop.
    internal static class Native
    {
        public delegate void FrameCallback(IntPtr frame, int size, int height, int width, int stride);
        public delegate void FormatCallback(int height, int width, int sampleSize, int stride, int code, int framesPerSecond);

        private const string Library = "ocellus.dll";

        [DllImport(Library, EntryPoint = "camGetDllRevision", CharSet = CharSet.Unicode)]
        public static extern int GetDllRevision([Out] char[] revision);
        [DllImport(Library, EntryPoint = "camSelect", CharSet = CharSet.Unicode)]
        public static extern int Select(IntPtr ownerWindow, string settingsPath, string settingsSection, int type);
        [DllImport(Library, EntryPoint = "camShutDown")]
        public static extern int ShutDown();
        [DllImport(Library, EntryPoint = "camStartPreview")]
        public static extern int StartPreview();
        [DllImport(Library, EntryPoint = "camStopPreview")]
        public static extern int StopPreview();
        [DllImport(Library, EntryPoint = "camSetEventsWindow")]
        public static extern int SetEventsWindow(IntPtr window);
        [DllImport(Library, EntryPoint = "camGetState")]
        public static extern int GetState(ref int state);
        [DllImport(Library, EntryPoint = "camGetPropertyRange")]
        public static extern int GetPropertyRange(int id, ref int minimum, ref int maximum, ref int step, ref int defaultValue, ref int flags);
        [DllImport(Library, EntryPoint = "camGetProperty")]
        public static extern int GetProperty(int id, ref int value, ref int flags);
        [DllImport(Library, EntryPoint = "camSetProperty")]
        public static extern int SetProperty(int id, int value, int flags);
        [DllImport(Library, EntryPoint = "camGetResolutionCount")]
        public static extern int GetResolutionCount(ref int count);
        [DllImport(Library, EntryPoint = "camGetResolutionDimensions")]
        public static extern int GetResolutionDimensions(ref int height, ref int width, int index);
        [DllImport(Library, EntryPoint = "camSetResolution")]
        public static extern int SetResolution(int index);
        [DllImport(Library, EntryPoint = "camSnapPicture")]
        public static extern int SnapPicture(IntPtr file, int mode);
        [DllImport(Library, EntryPoint = "camSnapPictureWithText")]
        public static extern int SnapPictureWithText(IntPtr file, int mode, IntPtr text, IntPtr length, IntPtr position, UIntPtr color, IntPtr font);
        [DllImport(Library, EntryPoint = "camRegisterPreviewCallback")]
        public static extern int RegisterPreview(FrameCallback callback);
        [DllImport(Library, EntryPoint = "camRegisterStillImageCallback")]
        public static extern int RegisterStill(FrameCallback callback);
        [DllImport(Library, EntryPoint = "camRegisterMediaTypeCallback")]
        public static extern int RegisterMediaType(FormatCallback callback);
        [DllImport(Library, EntryPoint = "camGetProfiles", CharSet = CharSet.Unicode)]
        public static extern int GetProfiles(string path, ref IntPtr profiles);

        public const int Quit = 0x8000;  // the first message that is an application's own

        [StructLayout(LayoutKind.Sequential)]
        public struct Message
        {
            public IntPtr window;
            public int message;
            public IntPtr wParam, lParam;
            public int time, x, y;
        }

        private static readonly bool isDevice = Environment.OSVersion.Platform == PlatformID.WinCE;

        public static void Free(IntPtr memory)
        {
            if (isDevice) DeviceFree(memory); else DesktopFree(memory);
        }

        public static IntPtr CreateWindow()
        {
            IntPtr none = IntPtr.Zero;
            return isDevice ? DeviceCreateWindow(0, "STATIC", null, 0, 0, 0, 0, 0, none, none, none, none)
                            : DesktopCreateWindow(0, "STATIC", null, 0, 0, 0, 0, 0, none, none, none, none);
        }

        public static void DestroyWindow(IntPtr window)
        {
            if (isDevice) DeviceDestroyWindow(window); else DesktopDestroyWindow(window);
        }

        public static bool GetMessage(ref Message message)
        {
            return (isDevice ? DeviceGetMessage(ref message, IntPtr.Zero, 0, 0) : DesktopGetMessage(ref message, IntPtr.Zero, 0, 0)) > 0;
        }

        public static void Dispatch(ref Message message)
        {
            if (isDevice) DeviceDispatch(ref message); else DesktopDispatch(ref message);
        }

        public static void PostMessage(IntPtr window, int message)
        {
            if (isDevice) DevicePostMessage(window, message, IntPtr.Zero, IntPtr.Zero);
            else DesktopPostMessage(window, message, IntPtr.Zero, IntPtr.Zero);
        }

        // 2 is the C calling convention, whose name the Compact Framework does not have.
        [DllImport("msvcrt.dll", EntryPoint = "free", CallingConvention = (CallingConvention)2)]
        private static extern void DesktopFree(IntPtr memory);
        [DllImport("coredll.dll", EntryPoint = "free")]
        private static extern void DeviceFree(IntPtr memory);
        [DllImport("user32.dll", EntryPoint = "CreateWindowExW", CharSet = CharSet.Unicode)]
        private static extern IntPtr DesktopCreateWindow(int extendedStyle, string className, string name, int style, int x, int y, int width,
                                                         int height, IntPtr parent, IntPtr menu, IntPtr instance, IntPtr parameter);
        [DllImport("coredll.dll", EntryPoint = "CreateWindowExW", CharSet = CharSet.Unicode)]
        private static extern IntPtr DeviceCreateWindow(int extendedStyle, string className, string name, int style, int x, int y, int width,
                                                        int height, IntPtr parent, IntPtr menu, IntPtr instance, IntPtr parameter);
        [DllImport("user32.dll", EntryPoint = "DestroyWindow")]
        private static extern int DesktopDestroyWindow(IntPtr window);
        [DllImport("coredll.dll", EntryPoint = "DestroyWindow")]
        private static extern int DeviceDestroyWindow(IntPtr window);
        [DllImport("user32.dll", EntryPoint = "GetMessageW")]
        private static extern int DesktopGetMessage(ref Message message, IntPtr window, int first, int last);
        [DllImport("coredll.dll", EntryPoint = "GetMessageW")]
        private static extern int DeviceGetMessage(ref Message message, IntPtr window, int first, int last);
        [DllImport("user32.dll", EntryPoint = "DispatchMessageW")]
        private static extern IntPtr DesktopDispatch(ref Message message);
        [DllImport("coredll.dll", EntryPoint = "DispatchMessageW")]
        private static extern IntPtr DeviceDispatch(ref Message message);
        [DllImport("user32.dll", EntryPoint = "PostMessageW")]
        private static extern int DesktopPostMessage(IntPtr window, int message, IntPtr wParam, IntPtr lParam);
        [DllImport("coredll.dll", EntryPoint = "PostMessageW")]
        private static extern int DevicePostMessage(IntPtr window, int message, IntPtr wParam, IntPtr lParam);
    }
}
