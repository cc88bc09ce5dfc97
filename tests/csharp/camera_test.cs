// Uses Ocellus.cs as a program does, on the runtime of another vendor, with the device kit as camera. Ends with the number of what is wrong.
//     camera_test.exe STA|MTA FOLDER PROFILES.xml
using System;
using System.Collections.Generic;
using System.IO;
using System.Threading;
using Ocellus;

static class CameraTest
{
    private static int wrong;

    private static void Check(string what, bool holds)
    {
        if (!holds) ++wrong;
        Console.WriteLine((holds ? "ok " : "not ok ") + what);
    }

    private static CameraException Failure(ThreadStart work)
    {
        try
        {
            work();
        }
        catch (CameraException error)
        {
            return error;
        }
        return null;
    }

    private static bool Begins(string file, params byte[] first)
    {
        if (!File.Exists(file)) return false;
        byte[] bytes = File.ReadAllBytes(file);
        for (int i = 0; i < first.Length; ++i)
            if (bytes.Length <= i || bytes[i] != first[i]) return false;
        return true;
    }

    private static void Use(string folder, string profiles)
    {
        Check("the revision is " + Camera.Revision, Camera.Revision.Length == 13);
        string[] names = Camera.GetProfiles(profiles);
        Check("profiles", names.Length == 32 && names[0] == "Warehouse" && names[1] == "Warehouse" && names[2] == null && names[3] == "Ward");
        Check("no profiles", Camera.GetProfiles(folder + "\\none.xml").Length == 0);

        Camera closed = new Camera();
        CameraException error = Failure(delegate { closed.StartPreview(); });
        Check("without a camera", error != null && error.Result == 1 && error.Message.Contains("camStartPreview") && error.Message.Contains("Open"));

        // Work comes to this thread, as a program with windows would have it.
        List<ThreadStart> queue = new List<ThreadStart>();
        int frames = 0, copied = 0, taken = 0, formats = 0, still = 0, elsewhere = 0;
        Thread own = Thread.CurrentThread;
        using (Camera camera = new Camera())
        {
            camera.Dispatch = delegate(ThreadStart work) { lock (queue) queue.Add(work); };
            camera.PreviewFrame += delegate(Camera from, Frame frame)
            {
                ++frames;
                if (Thread.CurrentThread != own) ++elsewhere;
                if (frame.Width == 640 && frame.Stride == 1280 && frame.GetBytes().Length == frame.Size && Array.Exists(frame.GetBytes(), delegate(byte b) { return b != 0; }))
                    ++copied;
            };
            camera.StillImage += delegate { ++still; };
            camera.FormatChanged += delegate(Camera from, FrameFormat format) { if (format.Width == 640 && format.Code == 3) ++formats; };
            camera.PictureTaken += delegate { ++taken; };
            camera.Open(IntPtr.Zero);
            Check("state", camera.State == CameraState.Initialised);
            error = Failure(delegate { camera.TakePicture(folder + "\\early.jpg"); });
            Check("a picture before preview", error != null && error.Result == 8);
            camera.StartPreview();
            string[] files = { "a.jpg", "b.png", "c.bmp", "d.tif" };
            for (int i = 0; i < files.Length; ++i)
            {
                GC.Collect();  // what only the library points to would be gone now
                camera.TakePicture(folder + "\\" + files[i], 0, "Ward 7\n" + files[i], TextPosition.BottomRight, 0x00FFFF,
                                   StampColor.Black, StampColor.None, IntPtr.Zero);
                for (int waited = 0; taken <= i && waited < 1000; ++waited)
                {
                    Thread.Sleep(10);
                    for (; ; )
                    {
                        ThreadStart work;
                        lock (queue)
                        {
                            if (queue.Count == 0) break;
                            work = queue[0];
                            queue.RemoveAt(0);
                        }
                        work();
                    }
                }
            }
            Check("pictures taken: " + taken + ", seen: " + still, taken == 4 && still == 4);
            Check("frames: " + frames, frames > 0 && copied == frames && elsewhere == 0);
            Check("formats: " + formats, formats == 1);
            PropertyRange range = camera.GetRange(CameraProperty.Brightness);
            PropertyFlags flags;
            camera.SetProperty(CameraProperty.Brightness, range.Maximum, PropertyFlags.Manual);
            Check("brightness", range.Maximum > range.Minimum && camera.GetProperty(CameraProperty.Brightness, out flags) == range.Maximum &&
                                flags == PropertyFlags.Manual);
            error = Failure(delegate { camera.GetRange((CameraProperty)81); });
            Check("a property that does not exist", error != null && error.Result == 3);
            Resolution[] sizes = camera.GetResolutions();
            Check("resolutions: " + sizes.Length + ", the first " + (sizes.Length > 0 ? sizes[0].ToString() : "none"), sizes.Length > 1);
            bool refused = false;
            try
            {
                new Camera().Open(IntPtr.Zero);
            }
            catch (InvalidOperationException)
            {
                refused = true;
            }
            Check("a second camera", refused);
            camera.StopPreview();
        }
        Check("files", Begins(folder + "\\a.jpg", 0xFF, 0xD8) && Begins(folder + "\\b.png", 0x89, 0x50) && Begins(folder + "\\c.bmp", 0x42, 0x4D) &&
                       Begins(folder + "\\d.tif", 0x49, 0x49) && !File.Exists(folder + "\\early.jpg"));

        // Without Dispatch, on the library's own threads; an exception in a handler ends nothing.
        using (Camera camera = new Camera())
        {
            ManualResetEvent done = new ManualResetEvent(false);
            int errors = 0;
            Camera.UnhandledError += delegate { ++errors; };
            camera.PreviewFrame += delegate { throw new ApplicationException("on purpose"); };
            camera.PictureTaken += delegate { done.Set(); };
            camera.Open(IntPtr.Zero);
            camera.StartPreview();
            camera.TakePicture(folder + "\\e.jpg");
            Check("a picture on the library's threads", done.WaitOne(10000) && Begins(folder + "\\e.jpg", 0xFF, 0xD8));
            for (int waited = 0; errors == 0 && waited < 500; ++waited) Thread.Sleep(10);  // the next frame comes
            Check("errors in a handler: " + errors, errors > 0);
        }
        Check("closed twice", Failure(delegate { closed.Dispose(); }) == null);
    }

    private static int Main(string[] arguments)
    {
        Thread thread = new Thread(delegate()
        {
            try
            {
                Use(arguments[1], arguments[2]);
            }
            catch (Exception error)
            {
                Check(error.ToString(), false);
            }
        });
        thread.SetApartmentState(arguments[0] == "STA" ? ApartmentState.STA : ApartmentState.MTA);
        thread.Start();
        thread.Join();
        Console.WriteLine("# wrong: " + wrong);
        return wrong;
    }
}
