Attribute VB_Name = "PlcTable"
' Reads a table of PLC addresses into a sheet, without the control on the sheet: late bound, so
' Office's settings for ActiveX controls don't matter, and no reference is needed.
'
' The active sheet, from row 5 on (row 4 has the titles):
'
'   A: area   B: data block   C: byte   D: type          E: value   F: what went wrong
'   D         10              0         W
'   M         0               4         B
'
' Types: B byte, W word, I signed word, D signed double word, F float, X 8 bits, C 8 bytes raw.
' B1 has the PLC's address, B2 its TSAP (3.2), B3 the port (102).
Option Explicit

Private Const FIRST_ROW As Long = 5
Private busy As Boolean ' jobs process messages: a second click must not start a second run

Public Sub ReadTable()
    If busy Then Exit Sub
    busy = True
    Dim plc As Object
    On Error GoTo Failed
    Set plc = CreateObject("Plexum.PlexumLink")
    plc.Tzeit = 1000 ' slices of up to a millisecond each
    If Connect(plc, ActiveSheet) Then ReadRows plc, ActiveSheet
Done:
    On Error Resume Next
    plc.ag_exit
    Set plc = Nothing
    busy = False
    Exit Sub
Failed:
    MsgBox "Error " & Err.Number & ": " & Err.Description, vbExclamation, "PLC"
    Resume Done
End Sub

' Puts 4660 into word 0 of data block 10, and 3 bytes behind it.
Public Sub WriteSample()
    If busy Then Exit Sub
    busy = True
    Dim plc As Object
    On Error GoTo Failed
    Set plc = CreateObject("Plexum.PlexumLink")
    plc.Tzeit = 1000
    If Connect(plc, ActiveSheet) Then
        If Not plc.ag_WriteW("10", "0", "4660", "D") Then MsgBox "word: err " & plc.err
        plc.err = 0 ' most jobs refuse to start while an error stands there
        If Not plc.ag_WriteMB("10", "2", TextOf(Array(&H41, &H80, &HFF)), "D") Then
            MsgBox "bytes: err " & plc.err
        End If
    End If
Done:
    On Error Resume Next
    plc.ag_exit
    Set plc = Nothing
    busy = False
    Exit Sub
Failed:
    MsgBox "Error " & Err.Number & ": " & Err.Description, vbExclamation, "PLC"
    Resume Done
End Sub

' Connects with what the sheet says. The sheet module of SheetWithControl.cls uses it, too.
Public Function Connect(ByVal plc As Object, ByVal sheet As Object) As Boolean
    Dim port As String
    port = sheet.Range("B3").Text ' Text: a TSAP must not become a number, nor a date
    If port = "" Then port = "102"
    plc.CP_IP = sheet.Range("B1").Text ' the properties are for jobs that have to connect anew
    plc.TsapE = "1.0"
    plc.TsapF = sheet.Range("B2").Text
    Connect = plc.ag_ini(plc.CP_IP, port, plc.TsapE, plc.TsapF)
    If Not Connect Then MsgBox "No connection, err " & plc.err, vbExclamation, "PLC"
End Function

Public Sub ReadRows(ByVal plc As Object, ByVal sheet As Object)
    Dim row As Long
    row = FIRST_ROW
    Do While sheet.Cells(row, 1).Text <> ""
        ReadRow plc, sheet, row
        row = row + 1
    Loop
End Sub

Private Sub ReadRow(ByVal plc As Object, ByVal sheet As Object, ByVal row As Long)
    Dim result As Variant
    On Error GoTo Failed
    sheet.Cells(row, 5).ClearContents
    sheet.Cells(row, 6).ClearContents
    Dim area As String, block As String, start As String, kind As String
    area = sheet.Cells(row, 1).Text
    block = sheet.Cells(row, 2).Text
    start = sheet.Cells(row, 3).Text
    kind = sheet.Cells(row, 4).Text
    If kind = "C" Then
        result = plc.ag_ReadB(block, "8", start, "C", area)
    Else
        result = plc.ag_Read(block, CStr(SizeOf(kind)), start, kind, area)
    End If
    If plc.err <> 0 Then
        sheet.Cells(row, 6).Value = "err " & plc.err
        plc.err = 0
    ElseIf kind = "C" Then
        sheet.Cells(row, 5).Value = HexOf(result)
    ElseIf kind = "X" Then
        Dim i As Long, bits As String
        For i = LBound(result) To UBound(result) ' least significant first
            bits = CStr(result(i)) & bits
        Next
        sheet.Cells(row, 5).Value = "'" & bits
    Else
        sheet.Cells(row, 5).Value = result(1)
    End If
    Exit Sub
Failed:
    ' Also a time-out without any answer. The connection's state is unknown: the next job reconnects,
    ' to port 102.
    sheet.Cells(row, 6).Value = "error " & Err.Number & ": " & Err.Description
    plc.ag_exit
    plc.s7init = False
    plc.inuse = False
    plc.err = 0
End Sub

Private Function SizeOf(ByVal kind As String) As Long
    Select Case kind
        Case "W", "I": SizeOf = 2
        Case "D", "F": SizeOf = 4
        Case Else: SizeOf = 1
    End Select
End Function

' A byte string has one character for each byte: Chr makes it, Asc reads it. Not ChrW and AscW.
Public Function TextOf(ByVal bytes As Variant) As String
    Dim i As Long
    For i = LBound(bytes) To UBound(bytes)
        TextOf = TextOf & Chr$(bytes(i))
    Next
End Function

Public Function HexOf(ByVal text As String) As String
    Dim i As Long
    For i = 1 To Len(text)
        HexOf = HexOf & Right$("0" & Hex$(Asc(Mid$(text, i, 1))), 2) & " "
    Next
End Function
