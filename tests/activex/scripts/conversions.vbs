' The conversions as a script host sees them: results, effects on variables, errors.
Option Explicit
Dim failures, link, value, other, result
failures = 0

Sub Check(what, got, expected)
  If VarType(got) <> VarType(expected) Then
    WScript.Echo "FAILED " & what & ": type " & VarType(got) & ", expected " & VarType(expected)
    failures = failures + 1
  ElseIf got <> expected Then
    WScript.Echo "FAILED " & what & ": " & got & ", expected " & expected
    failures = failures + 1
  End If
End Sub

' A byte string by its codes, in hex.
Function Codes(bytes)
  Dim i
  Codes = ""
  For i = 1 To Len(bytes)
    Codes = Codes & Right("0" & Hex(Asc(Mid(bytes, i, 1))), 2) & " "
  Next
End Function

Sub CheckError(what, number, description)
  Check what & " number", Err.Number, CLng(number)
  Check what & " description", Err.Description, description
  Check what & " source", Err.Source, "Plexum"
  Err.Clear
End Sub

On Error Resume Next
Set link = CreateObject("Plexum.PlexumLink")
Check "create", Err.Number, CLng(0)

Check "expression", Codes(link.wordtobeyt(2 & "58")), "01 02 "
value = 258
Check "variable", Codes(link.wordtobeyt(value)), "01 02 "
Check "unchanged variable", VarType(value), vbInteger
value = 70000
Check "double word of a number", Codes(link.dwordtobeyt(value)), "00 01 11 70 "
Check "its variable", value, "4464"
Check "in parentheses", Codes(link.dwordtobeyt((value))), "00 00 11 70 "
value = Chr(&H80)
other = Chr(&H9F)
Check "bytes above 7F", link.beyttoword(value, other), "15867232"
Check "first variable", value, "32768"
Check "second variable", other, "15867232"

value = "131071.6"
result = link.dwordtobeyt(value)
CheckError "failing double word", 5, "Invalid procedure call or argument"
Check "its variable", value, "65535.6"

link.TZEIT = "250"
Check "property", link.tzeit, CLng(250)
link.CP_IP = "plc.example"
Check "text property", link.cp_ip, "plc.example"
link.inuse = 1
Check "Boolean variable", link.inuse, True
link.err = -7
Check "err", link.err, CLng(-7)
Check "nothing else went wrong", Err.Number, CLng(0)
Check "exit", link.ag_exit(), True

Set link = Nothing
WScript.Echo "END: " & failures & " failures"
WScript.Quit failures
