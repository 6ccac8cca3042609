VERSION 5.00
Object = "{ACD85100-F31F-49C6-B8A9-20E8DDA5729C}#1.0#0"; "PlexumLink.ocx"
Begin VB.Form PlcForm 
   Caption         =   "PLC"
   ClientHeight    =   3000
   ClientLeft      =   60
   ClientTop       =   345
   ClientWidth     =   4800
   LinkTopic       =   "PlcForm"
   ScaleHeight     =   3000
   ScaleWidth      =   4800
   StartUpPosition =   3  'Windows Default
   Begin Plexum.PlexumLink PlexumLink1 
      Height          =   900
      Left            =   120
      TabIndex        =   2
      Top             =   120
      Width           =   4500
      CP_IP           =   "192.0.2.10"
      TsapF           =   "3.2"
      TsapE           =   "1.0"
      Tzeit           =   1000
   End
   Begin VB.CommandButton ReadButton 
      Caption         =   "Read"
      Height          =   375
      Left            =   120
      TabIndex        =   0
      Top             =   1200
      Width           =   1215
   End
   Begin VB.CommandButton WriteButton 
      Caption         =   "Write"
      Height          =   375
      Left            =   1440
      TabIndex        =   1
      Top             =   1200
      Width           =   1215
   End
   Begin VB.Label Answer 
      Height          =   1095
      Left            =   120
      TabIndex        =   3
      Top             =   1680
      Width           =   4500
   End
End
Attribute VB_Name = "PlcForm"
Attribute VB_GlobalNameSpace = False
Attribute VB_Creatable = False
Attribute VB_PredeclaredId = True
Attribute VB_Exposed = False
' Reads and writes data block 10 of the PLC whose address and TSAPs stand in the control's
' properties. The jobs connect by themselves.
Option Explicit

Private busy As Boolean    ' a job waits; its waits process messages, so clicks come in
Private closing As Boolean

Private Sub ReadButton_Click()
    Dim words As Variant, raw As Variant
    If busy Then Exit Sub
    busy = True
    On Error GoTo Failed
    words = PlexumLink1.ag_Read("10", "4", "0", "W", "D")
    If PlexumLink1.err = 0 Then
        Answer.Caption = "words: " & words(1) & ", " & words(2)
        raw = PlexumLink1.ag_ReadB("10", "3", "20", "C", "D")
    End If
    If PlexumLink1.err = 0 Then Answer.Caption = Answer.Caption & vbCrLf & "bytes: " & HexOf(raw)
    ShowError
    EndJob
    Exit Sub
Failed:
    StartAnew
    EndJob
End Sub

Private Sub WriteButton_Click()
    Dim block As String, start As String, value As String, area As String
    If busy Then Exit Sub
    busy = True
    On Error GoTo Failed
    block = "10": start = "4": value = "70000": area = "D"
    If PlexumLink1.ag_WriteD(block, start, value, area) Then
        Answer.Caption = "written; left: bit address " & start & ", low word " & value
        ' Chr$ makes a byte's character, Asc reads it.
        PlexumLink1.ag_WriteMB block, "20", Chr$(&H41) & Chr$(&H80) & Chr$(&HFF), area
    End If
    ShowError
    EndJob
    Exit Sub
Failed:
    StartAnew
    EndJob
End Sub

Private Sub ShowError()
    If PlexumLink1.err = 0 Then Exit Sub
    Answer.Caption = "err " & PlexumLink1.err
    PlexumLink1.err = 0 ' most jobs refuse to start while an error stands there
End Sub

' After a run-time error (also a time-out without any answer) the connection's state is unknown.
Private Sub StartAnew()
    Answer.Caption = "error " & Err.Number & ": " & Err.Description
    PlexumLink1.ag_exit
    PlexumLink1.s7init = False
    PlexumLink1.inuse = False
    PlexumLink1.err = 0
End Sub

Private Sub EndJob()
    busy = False
    If closing Then Unload Me
End Sub

Private Sub Form_QueryUnload(Cancel As Integer, UnloadMode As Integer)
    closing = True
    If busy Then
        Cancel = 1 ' when the job is done
        PlexumLink1.Tzeit = 0 ' which is now
    End If
End Sub

Private Sub Form_Unload(Cancel As Integer)
    PlexumLink1.ag_exit
End Sub

Private Function HexOf(ByVal text As String) As String
    Dim i As Long
    For i = 1 To Len(text)
        HexOf = HexOf & Right$("0" & Hex$(Asc(Mid$(text, i, 1))), 2) & " "
    Next
End Function
