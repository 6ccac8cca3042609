// Writes to and reads from data block 10 of a PLC, late bound: nothing but the registered control is
// needed.
//
//   csc LateBound.cs          (or a console project; choose the bitness of the registered control)
//   LateBound [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
using System;
using System.Runtime.InteropServices;
using System.Text;

static class LateBound
{
    // A byte string has one character for each byte, by the system's ANSI code page. .NET 5 and later
    // need Encoding.RegisterProvider(CodePagesEncodingProvider.Instance) first.
    static readonly Encoding Bytes = Encoding.GetEncoding(0).IsSingleByte
        ? Encoding.GetEncoding(0) : Encoding.GetEncoding(28591);

    [STAThread]
    static int Main(string[] arguments)
    {
        Type type = Type.GetTypeFromProgID("Plexum.PlexumLink");
        if (type == null)
        {
            Console.WriteLine("the control isn't registered for this bitness");
            return 2;
        }
        dynamic plc = Activator.CreateInstance(type);
        try
        {
            return Run(plc, arguments);
        }
        catch (Exception error) // a COMException, or what .NET makes of it: OverflowException for 6
        {
            // A number that doesn't fit, a time-out without any answer, a lost connection.
            Console.WriteLine("run-time error: {0}", error.Message);
            return 2;
        }
        finally
        {
            plc.ag_exit();
            // At once, not when the garbage collector comes: a PLC has few connections.
            Marshal.FinalReleaseComObject(plc);
            Console.WriteLine("disconnected");
        }
    }

    static int Run(dynamic plc, string[] arguments)
    {
        Func<int, string, string> argument =
            (index, otherwise) => arguments.Length > index ? arguments[index] : otherwise;
        plc.Tzeit = 1000; // slices of up to a millisecond each
        bool connected = plc.ag_ini(argument(0, "127.0.0.1"), argument(1, "102"),
                                    argument(2, "1.0"), argument(3, "3.2"));
        if (!connected)
        {
            Console.WriteLine("no connection, err {0}", plc.err);
            return 1;
        }
        Console.WriteLine("connected");
        Report(plc, "word 4660 at byte 0", plc.ag_WriteW("10", "0", "4660", "D"));
        string text = Bytes.GetString(new byte[] { 0x41, 0x80, 0xFF });
        Report(plc, "3 bytes at byte 20", plc.ag_WriteMB("10", "20", text, "D"));

        object data = plc.ag_ReadB("10", "3", "20", "C", "D");
        if (data is string)
            Console.WriteLine("bytes read: " + BitConverter.ToString(Bytes.GetBytes((string)data)));
        // An array from 1 on is an Array, and no double[].
        object words = plc.ag_Read("10", "2", "0", "W", "D");
        if (words is Array)
            Console.WriteLine("word read: {0}", ((Array)words).GetValue(1));
        return 0;
    }

    // What a write came to. Most jobs refuse to start while an error stands in err.
    static void Report(dynamic plc, string what, bool done)
    {
        Console.WriteLine(done ? what + ": written" : what + ": refused, err " + plc.err);
        if (!done) plc.err = 0;
    }
}
