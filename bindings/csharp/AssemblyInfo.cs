using System.Reflection;
using System.Runtime.InteropServices;

[assembly: AssemblyTitle("CQApi.Net")]
[assembly: AssemblyDescription("CQApi for .NET: drives a spectrophotometer and computes colour data")]
[assembly: AssemblyVersion("1.0.0.0")]
[assembly: ComVisible(false)]
