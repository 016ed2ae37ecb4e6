using System;
using System.Collections.Generic;
using System.Linq;
using System.Reflection;
using System.Threading;
using CQApi;

/// <summary>What must hold in a test; each failure is an exception that names it.</summary>
internal static class Check
{
    private const int PatienceSeconds = 10;

    internal static void Equal<T>(T expected, T actual, string what = "")
    {
        if (!EqualityComparer<T>.Default.Equals(expected, actual))
        {
            throw new InvalidOperationException(
                $"{what}: <{expected}> is expected, not <{actual}>");
        }
    }

    internal static void Sequence<T>(IEnumerable<T> expected, IEnumerable<T> actual)
    {
        Equal(string.Join(", ", expected), string.Join(", ", actual));
    }

    internal static void True(bool holds, string what) => Equal(true, holds, what);

    internal static void Near(double expected, double actual, double tolerance)
    {
        True(Math.Abs(expected - actual) <= tolerance, $"{actual} near {expected}");
    }

    internal static T Throws<T>(Action action) where T : Exception
    {
        try
        {
            action();
        }
        catch (T expected)
        {
            return expected;
        }
        throw new InvalidOperationException($"{typeof(T).Name} is expected; nothing was thrown");
    }

    /// <summary>The result of a call that something may stand in the way of for a while, a transfer of
    /// the instrument's for one: it fails with this code then, and is made again.</summary>
    internal static T Ask<T>(Func<T> call, ResultCode meanwhile = ResultCode.DeviceIsBusy)
    {
        T result = default(T);
        Until(() =>
        {
            try
            {
                result = call();
                return true;
            }
            catch (CQException failure) when (failure.Code == meanwhile)
            {
                return false;
            }
        }, "the call's success");
        return result;
    }

    internal static void Until(Func<bool> holds, string what)
    {
        DateTime deadline = DateTime.UtcNow.AddSeconds(PatienceSeconds);
        while (!holds())
        {
            True(DateTime.UtcNow < deadline, $"waited in vain for {what}");
            Thread.Sleep(5);
        }
    }
}

internal static class Program
{
    /// <summary>Runs the tests of the class that is named without its ending "Tests": its internal
    /// methods; what is private helps them. The first failure ends the program with its exception.
    /// </summary>
    private static void Main(string[] arguments)
    {
        MethodInfo[] tests = Type.GetType(arguments[0] + "Tests", true)
            .GetMethods(BindingFlags.Static | BindingFlags.NonPublic)
            .Where(method => method.IsAssembly).ToArray();
        Check.True(tests.Length > 0, "there are tests");
        foreach (MethodInfo test in tests)
        {
            Console.WriteLine(test.Name);
            test.Invoke(null, null);
        }
        Console.WriteLine($"{tests.Length} tests passed");
    }
}
