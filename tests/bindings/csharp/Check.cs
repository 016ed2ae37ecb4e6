using System;
using System.Collections.Generic;
using System.Linq;
using System.Reflection;
using System.Threading;
using CQApi;

/// <summary>A method that is a test.</summary>
[AttributeUsage(AttributeTargets.Method)]
internal sealed class TestAttribute : Attribute
{
}

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

    internal static void Near(double expected, double actual, double tolerance, string what = "")
    {
        True(Math.Abs(expected - actual) <= tolerance, $"{what}: {actual} near {expected}");
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

    /// <summary>The result of a call that a transfer of the instrument's may stand in the way of: it
    /// answers that it is busy then, and is asked again.</summary>
    internal static T Ask<T>(Func<T> call)
    {
        DateTime deadline = DateTime.UtcNow.AddSeconds(PatienceSeconds);
        while (true)
        {
            try
            {
                return call();
            }
            catch (CQException busy) when (busy.Code == ResultCode.DeviceIsBusy)
            {
                True(DateTime.UtcNow < deadline, "busy for too long");
            }
        }
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
    /// <summary>Runs the tests of the named class. The exit code is how many failed.</summary>
    private static int Main(string[] arguments)
    {
        string name = arguments.Length == 1 ? arguments[0] + "Tests" : null;
        Type suite = Assembly.GetExecutingAssembly().GetTypes().FirstOrDefault(t => t.Name == name);
        if (suite == null)
        {
            Console.Error.WriteLine("name one of the suites Color, Handler, Instrument, Wireless");
            return 2;
        }
        MethodInfo[] tests = suite.GetMethods(BindingFlags.Static | BindingFlags.NonPublic)
            .Where(method => method.IsDefined(typeof(TestAttribute), false)).ToArray();
        int failed = tests.Count(test => !Passes(test));
        Console.WriteLine($"{tests.Length - failed} of {tests.Length} tests passed");
        return tests.Length == 0 ? 2 : failed;
    }

    private static bool Passes(MethodInfo test)
    {
        try
        {
            test.Invoke(null, null);
            Console.WriteLine($"passed  {test.Name}");
            return true;
        }
        catch (TargetInvocationException failure)
        {
            Console.WriteLine($"FAILED  {test.Name}\n{failure.InnerException}");
            return false;
        }
    }
}
