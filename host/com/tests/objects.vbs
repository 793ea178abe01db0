' The five classes created by ProgID, every property, and failures through Err.
'   cscript //nologo objects.vbs WORKDIR
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

Function Fresh()
  Fresh = (Err.Number = 0)
  Err.Clear
End Function

Dim work, fso, shell
work = WScript.Arguments(0)
Set fso = CreateObject("Scripting.FileSystemObject")
Set shell = CreateObject("WScript.Shell")

On Error Resume Next

' Registration.
Dim names, n, clsid, key
names = Array("Vessik_Parser", "Vessik_Progress", "Vessik_Layer", "Vessik_Color", "Vessik_CommonData")
For Each n In names
  clsid = shell.RegRead("HKCR\Halmor." & n & "\CLSID\")
  Check Fresh() And Len(clsid) = 38, "ProgID key of " & n
  key = "HKCR\CLSID\" & clsid & "\"
  Check shell.RegRead(key & "InprocServer32\ThreadingModel") = "Apartment", "ThreadingModel of " & n
  Check LCase(Right(shell.RegRead(key & "InprocServer32\"), 10)) = "halmor.dll", "server of " & n
  Check shell.RegRead(key & "ProgID\") = "Halmor." & n, "ProgID of " & n
  Check Fresh(), "registry reads of " & n
Next

' Creation by ProgID.
Dim p, g, l, c, d
Set p = CreateObject("Halmor.Vessik_Parser")
Check Fresh() And IsObject(p), "create Vessik_Parser"
Set g = CreateObject("Halmor.Vessik_Progress")
Check Fresh() And IsObject(g), "create Vessik_Progress"
Set l = CreateObject("Halmor.Vessik_Layer")
Check Fresh() And IsObject(l), "create Vessik_Layer"
Set c = CreateObject("Halmor.Vessik_Color")
Check Fresh() And IsObject(c), "create Vessik_Color"
Set d = CreateObject("Halmor.Vessik_CommonData")
Check Fresh() And IsObject(d), "create Vessik_CommonData"

' Vessik_CommonData: all 0 when new, then each property written and read.
Check d.Tolerance = 0 And d.Check = 0 And d.ArcMaximumDeviationFactor = 0, "settings start at 0"
Check d.ArcMinimumSegmentLengthFactor = 0 And d.ArcMaximumSegmentLengthFactor = 0, "factors start at 0"
Check d.InitialSegments = 0, "InitialSegments starts at 0"
Check VarType(d.Tolerance) = vbDouble And VarType(d.Check) = vbLong, "types of the settings"
d.Tolerance = 0.25
d.Check = -7
d.ArcMaximumDeviationFactor = 1.5
d.ArcMinimumSegmentLengthFactor = 2.5
d.ArcMaximumSegmentLengthFactor = 3.5
d.InitialSegments = 4.5
Check Fresh(), "settings written"
Check d.Tolerance = 0.25 And d.Check = -7 And d.ArcMaximumDeviationFactor = 1.5, "settings read back"
Check d.ArcMinimumSegmentLengthFactor = 2.5 And d.ArcMaximumSegmentLengthFactor = 3.5, "factors read back"
Check d.InitialSegments = 4.5, "InitialSegments read back"
d.Check = 2147483647
Check Fresh() And d.Check = 2147483647, "largest Check"
d.Check = 2147483648
Check Err.Number = 6, "Check beyond 32 bits overflows"
Err.Clear

' Vessik_Color.
Check c.ColorACI = 0 And c.ColorRGB = 0, "colour starts at 0"
Check VarType(c.ColorACI) = vbLong, "ColorACI is a Long"
c.ColorACI = 1
Check c.ColorACI = 1 And c.ColorRGB = 255, "ColorACI 1 sets red"
c.ColorRGB = 12345
Check c.ColorACI = 1 And c.ColorRGB = 12345, "ColorRGB leaves ColorACI"
Dim aci
aci = -3
c.ColorACI = aci
Check Fresh() And c.ColorACI = -3 And c.ColorRGB = 65280, "ColorACI from a variable"
c.ColorACI = -2147483648
Check Err.Number = 6 And Err.Description = "Overflow" And Err.Source = "", "ColorACI of the smallest Long overflows"
Err.Clear
Check c.ColorACI = -3, "a failed write changes nothing"

' Vessik_Layer.
Check l.Name = "" And VarType(l.Name) = vbString, "layer name starts empty"
Check l.Color.ColorACI = 7 And l.Color.ColorRGB = 16777215, "layer colour starts white"
l.Name = "D" & Chr(196) & "MMUNG"
Check l.Name = "D" & Chr(196) & "MMUNG", "layer name written and read"
Set l.Color = c
Check Fresh(), "layer colour set"
c.ColorACI = 5
Check l.Color.ColorACI = 5 And l.Color.ColorRGB = 16711680, "the colour is held by reference"
Set l.Color = Nothing
Check Fresh() And (l.Color Is Nothing), "the colour set to Nothing"
Set l.Color = c
Set l.Color = d
Check Err.Number <> 0, "a colour of another class is refused"
Err.Clear
Check l.Color.ColorACI = 5, "a refused colour changes nothing"

' Vessik_Progress.
Check g.IsCanceled = False And VarType(g.IsCanceled) = vbBoolean, "IsCanceled starts False"
g.IsCanceled = True
Check g.IsCanceled = True, "IsCanceled written"
Dim flag
flag = False
g.IsCanceled = flag
Check Fresh() And g.IsCanceled = False, "IsCanceled from a variable"
g.DoProgress 42
Check Fresh(), "DoProgress with no handler connected does nothing"

' Vessik_Parser before its first parse: an array of no elements.
Dim layers
layers = p.Layers
Check Fresh() And IsArray(layers), "Layers is an array"
Check UBound(layers) = -1, "no layers before the first parse"

' Failures of calls on a null reference and of wrong classes.
Dim path, f, text
path = work & "\objects-empty.dxf"
Set f = fso.CreateTextFile(path, True, False)
f.Write "0" & vbLf & "SECTION" & vbLf & "2" & vbLf & "ENTITIES" & vbLf & "0" & vbLf & "ENDSEC" & vbLf & "0" & vbLf & "EOF" & vbLf
f.Close
text = p.Parse2(path, d, Nothing)
Check Err.Number = 91 And Err.Description = "Object variable or With block variable not set", "Parse2 without a progress object"
Err.Clear
text = p.Parse2(path, g, d)
Check Err.Number = 13 And Err.Description = "Type mismatch", "Parse2 with the objects swapped"
Err.Clear
text = p.Parse2(path, d, g)
Check Fresh() And text = "" And VarType(text) = vbString, "Parse2 of an empty ENTITIES section"

WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed
