' Parse2 and Layers on real drawings, compared with the text and layers that
' the library makes of the same file natively (WORKDIR\drawings.lst names each
' drawing and the prefix of its expected files), and on drawings of its own.
'   cscript //nologo parse.vbs WORKDIR
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

Dim work, fso
work = WScript.Arguments(0)
Set fso = CreateObject("Scripting.FileSystemObject")

' A whole file as text, by the ANSI code page; "" for an empty file.
Function ReadText(path)
  If fso.GetFile(path).Size = 0 Then
    ReadText = ""
  Else
    Dim f
    Set f = fso.OpenTextFile(path, 1, False, 0)
    ReadText = f.ReadAll
    f.Close
  End If
End Function

Sub WriteText(path, text)
  Dim f
  Set f = fso.CreateTextFile(path, True, False)
  f.Write text
  f.Close
End Sub

' The settings of every comparison; wine_test.sh holds the same numbers.
Function Settings()
  Dim d
  Set d = CreateObject("Halmor.Vessik_CommonData")
  d.Tolerance = 0.01
  d.Check = 0
  d.ArcMaximumDeviationFactor = 0.01
  d.ArcMinimumSegmentLengthFactor = 0.001
  d.ArcMaximumSegmentLengthFactor = 100
  d.InitialSegments = 4
  Set Settings = d
End Function

' The value of "key value" in the lines of a meta file.
Function MetaValue(lines, key)
  Dim line
  MetaValue = Null
  For Each line In lines
    If Left(line, Len(key) + 1) = key & " " Then
      MetaValue = Mid(line, Len(key) + 2)
      Exit Function
    End If
  Next
End Function

' The text of the library, byte for byte, or (where the math library of
' Windows rounds a last bit otherwise than that of Linux) the same records with
' numbers equal to 1E-9 of their size.
Function SameRecords(a, b, drawing)
  Dim la, lb, i, j, ca, cb, x, y, scale
  SameRecords = True
  If a = b Then Exit Function
  SameRecords = False
  la = Split(a, vbCrLf)
  lb = Split(b, vbCrLf)
  If UBound(la) <> UBound(lb) Then Exit Function
  For i = 0 To UBound(la)
    ca = Split(la(i), vbTab)
    cb = Split(lb(i), vbTab)
    If UBound(ca) <> UBound(cb) Then Exit Function
    For j = 0 To UBound(ca)
      If ca(j) <> cb(j) Then
        If Not (IsNumeric(ca(j)) And IsNumeric(cb(j))) Then Exit Function
        x = CDbl(ca(j))
        y = CDbl(cb(j))
        scale = 1
        If Abs(x) > scale Then scale = Abs(x)
        If Abs(y) > scale Then scale = Abs(y)
        If Abs(x - y) > 1E-9 * scale Then Exit Function
      End If
    Next
  Next
  WScript.Echo drawing & ": the same records, numbers equal within 1E-9"
  SameRecords = True
End Function

Sub CompareDrawing(drawing, prefix)
  Dim meta, lines, p, g, text, number, description, layers, count, i, parts, ok
  meta = Replace(ReadText(prefix & ".meta"), vbCr, "")
  lines = Split(meta, vbLf)
  Set p = CreateObject("Halmor.Vessik_Parser")
  Set g = CreateObject("Halmor.Vessik_Progress")
  On Error Resume Next
  text = p.Parse2(drawing, Settings(), g)
  number = Err.Number
  description = Err.Description
  On Error GoTo 0
  If MetaValue(lines, "status") = "OK" Then
    Check number = 0, drawing & ": no failure (got " & number & " " & description & ")"
    Check SameRecords(text, ReadText(prefix & ".txt"), drawing), drawing & ": the text of the library"
  Else
    Check number = CLng(MetaValue(lines, "number")), drawing & ": failure number " & number
    Check description = MetaValue(lines, "description"), drawing & ": failure words " & description
  End If
  layers = p.Layers
  count = CLng(MetaValue(lines, "layers"))
  Check UBound(layers) = count - 1, drawing & ": number of layers"
  If UBound(layers) = count - 1 Then
    For i = 0 To count - 1
      parts = Split(lines(5 + i), vbTab)
      ok = layers(i).Name = parts(0) And layers(i).Color.ColorACI = CLng(parts(1)) And _
           layers(i).Color.ColorRGB = CLng(parts(2))
      Check ok, drawing & ": layer " & i
    Next
  End If
End Sub

' The corpus drawings.
Dim listing, entries, entry, halves, compared
compared = 0
If fso.FileExists(work & "\drawings.lst") Then
  listing = Replace(ReadText(work & "\drawings.lst"), vbCr, "")
  entries = Split(listing, vbLf)
  For Each entry In entries
    If entry <> "" Then
      halves = Split(entry, "|")
      CompareDrawing halves(0), halves(1)
      compared = compared + 1
    End If
  Next
End If
If compared = 0 Then WScript.Echo "no corpus drawings: their comparison is skipped"

' Drawings of this test.
Dim nl, head, tail, path, p, g, text, layers
nl = vbCrLf
head = "0" & nl & "SECTION" & nl & "2" & nl & "TABLES" & nl & "0" & nl & "TABLE" & nl & "2" & nl & "LAYER" & nl & _
       "0" & nl & "LAYER" & nl & "2" & nl & "0" & nl & "62" & nl & "7" & nl & _
       "0" & nl & "LAYER" & nl & "2" & nl & "D" & Chr(196) & "MMUNG" & nl & "62" & nl & "-3" & nl & _
       "0" & nl & "ENDTAB" & nl & "0" & nl & "ENDSEC" & nl & "0" & nl & "SECTION" & nl & "2" & nl & "ENTITIES" & nl
tail = "0" & nl & "ENDSEC" & nl & "0" & nl & "EOF" & nl
path = work & "\own.dxf"
WriteText path, head & tail
Set p = CreateObject("Halmor.Vessik_Parser")
Set g = CreateObject("Halmor.Vessik_Progress")
text = p.Parse2(path, Settings(), g)
Check text = "", "empty ENTITIES section gives the empty text"
layers = p.Layers
Check UBound(layers) = 1, "two layers"
Check layers(0).Name = "0" And layers(1).Name = "D" & Chr(196) & "MMUNG", "names through the ANSI code page"
Check layers(1).Color.ColorACI = -3 And layers(1).Color.ColorRGB = 65280, "a switched-off layer keeps its sign"
layers(1).Name = "CHANGED"
layers = p.Layers
Check layers(1).Name = "CHANGED", "the layers are the parser's own objects"

' A cancel set before the call gives the empty text and no failure.
WriteText path, head & "0" & nl & "POINT" & nl & "8" & nl & "0" & nl & tail
g.IsCanceled = True
text = p.Parse2(path, Settings(), g)
Check text = "" And g.IsCanceled, "cancelled parse"
g.IsCanceled = False

' Failures.
Dim number, description
On Error Resume Next
text = "unchanged"
text = p.Parse2(work & "\missing.dxf", Settings(), g)
Check Err.Number = 53 And Err.Description = "File not found", "missing file: " & Err.Number & " " & Err.Description
Check text = "unchanged", "no text after a failure"
Err.Clear
text = p.Parse2(work, Settings(), g)
Check Err.Number = 75 And Err.Description = "Path/File access error", "a folder: " & Err.Number & " " & Err.Description
Err.Clear
WriteText path, "0" & nl & "SECT" & nl & "0" & nl & "EOF" & nl
text = p.Parse2(path, Settings(), g)
Check Err.Number = &H80040001 And Err.Description = "SECTION tag not found. DXF file is invalid.", "no SECTION: " & Hex(Err.Number)
Err.Clear
WriteText path, "0" & nl & "SECTION" & nl & "2" & nl & "TABLES" & nl & "0" & nl & "ENDSEC" & nl & "0" & nl & "EOF" & nl
text = p.Parse2(path, Settings(), g)
Check Err.Number = 91, "no ENTITIES section: " & Err.Number
Err.Clear
On Error GoTo 0

' The parser works again after a failure.
WriteText path, head & tail
Check p.Parse2(path, Settings(), g) = "", "a parse after a failure"

WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed
