' After DllUnregisterServer: no class can be created and none of the server's
' registry keys is left.
'   cscript //nologo unregistered.vbs WORKDIR
Option Explicit
Dim passed, failed
passed = 0
failed = 0

Sub Check(ok, what)
  If ok Then
    passed = passed + 1
  Else
    failed = failed + 1
    WScript.Echo "failed: " & what
  End If
End Sub

Dim shell, names, n, keys, k, o, v
Set shell = CreateObject("WScript.Shell")
names = Array("Vessik_Parser", "Vessik_Progress", "Vessik_Layer", "Vessik_Color", "Vessik_CommonData")
keys = Array( _
  "HKCR\CLSID\{F47EDCB0-5397-468D-AFF1-5342A9B610DC}\", _
  "HKCR\CLSID\{91D14707-3F24-4EB1-ACFE-5F510FF4FFEF}\", _
  "HKCR\CLSID\{25F2D055-22CD-4338-8081-E0D8239C4331}\", _
  "HKCR\CLSID\{5D799F7F-9F66-4519-B1A8-FC3CC68B8491}\", _
  "HKCR\CLSID\{30B5133E-A182-4444-BA60-F679064DE212}\", _
  "HKCR\TypeLib\{AA8F72B2-CA8F-43F4-9888-7E1591F55FC8}\", _
  "HKCR\Interface\{5AD3505E-EE80-4467-96DF-D80BAF217567}\", _
  "HKCR\Interface\{ABDC5512-995C-4CCF-B3FA-388E04AB5296}\", _
  "HKCR\Interface\{AE18D5CF-11C6-46DD-83C2-E4991377A1C5}\", _
  "HKCR\Interface\{6B17D88B-64CA-46D8-B869-1A0574A87357}\", _
  "HKCR\Interface\{D64C6D79-1B58-4EB3-BC01-46FD5FB7F23D}\", _
  "HKCR\Interface\{78EE3681-FC9E-48D7-8004-AFAFD43043AC}\")

On Error Resume Next
For Each n In names
  Set o = CreateObject("Halmor." & n)
  Check Err.Number = 429, n & " can no longer be created (" & Err.Number & ")"
  Err.Clear
  v = shell.RegRead("HKCR\Halmor." & n & "\")
  Check Err.Number <> 0, "key Halmor." & n & " removed"
  Err.Clear
Next
For Each k In keys
  v = shell.RegRead(k)
  Check Err.Number <> 0, "key " & k & " removed"
  Err.Clear
Next

WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed
