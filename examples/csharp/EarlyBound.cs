// The same as LateBound.cs, early bound by the declarations in Plexum.cs. A reference to the type
// library (Add Reference, COM, "Plexum PLC link") gives the same ones.
//
//   csc EarlyBound.cs Plexum.cs
//   EarlyBound [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
using System;
using System.Runtime.InteropServices;
using Plexum;

static class EarlyBound
{
    [STAThread]
    static int Main(string[] arguments)
    {
        var plc = (_PlexumLink)new PlexumLink();
        try
        {
            return Run(plc, arguments);
        }
        catch (Exception error) // a COMException, or what .NET makes of it
        {
            Console.WriteLine("run-time error: {0}", error.Message);
            return 2;
        }
        finally
        {
            plc.ag_exit();
            Marshal.FinalReleaseComObject(plc);
            Console.WriteLine("disconnected");
        }
    }

    static int Run(_PlexumLink plc, string[] arguments)
    {
        Func<int, string, string> argument =
            (index, otherwise) => arguments.Length > index ? arguments[index] : otherwise;
        string address = argument(0, "127.0.0.1"), port = argument(1, "102");
        string own = argument(2, "1.0"), theirs = argument(3, "3.2");
        plc.Tzeit = 1000; // slices of up to a millisecond each
        if (!plc.ag_ini(ref address, ref port, ref own, ref theirs))
        {
            Console.WriteLine("no connection to {0}, err {1}", address, plc.err);
            return 1;
        }
        Console.WriteLine("connected to {0}", address);

        // Arguments are by reference, and some are changed: ag_WriteD leaves the bit address in one
        // and the low word in the other.
        string block = "10", area = "D", at = "4", number = "70000";
        if (plc.ag_WriteD(ref block, ref at, ref number, ref area))
            Console.WriteLine("70000 at byte 4: written; left: {0}, {1}", at, number);
        else
        {
            Console.WriteLine("70000 at byte 4: refused, err {0}", plc.err);
            plc.err = 0; // most jobs refuse to start while an error stands there
        }

        string count = "4", form = "D";
        at = "4";
        object values = plc.ag_Read(ref block, ref count, ref at, ref form, ref area);
        if (values is Array) // from 1 on, so no double[]
            Console.WriteLine("double word read: {0}", ((Array)values).GetValue(1));
        return 0;
    }
}
