// A picture from C#, on a handheld and on the desktop alike:
//     csc TakePictures.cs Ocellus.cs
//     TakePictures.exe \full\path\of\picture.jpg
using System;
using System.Threading;
using Ocellus;

static class TakePictures
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 1)
        {
            Console.WriteLine("TakePictures: name the file of the picture, with its full path");
            return 2;
        }
        try
        {
            using (Camera camera = new Camera())
            {
                ManualResetEvent taken = new ManualResetEvent(false);
                camera.PictureTaken += delegate { taken.Set(); };
                camera.Open(IntPtr.Zero);
                camera.StartPreview();
                camera.TakePicture(arguments[0]);
                if (!taken.WaitOne(10000, false)) throw new InvalidOperationException("the camera took no picture within ten seconds");
            }
            Console.WriteLine(arguments[0]);
            return 0;
        }
        catch (Exception error)
        {
            Console.WriteLine(error.Message);
            return 1;
        }
    }
}
