// Writes to and reads from data block 10 of a PLC, late bound.
//
//   ReadWrite [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
program ReadWrite;

{$APPTYPE CONSOLE}

uses
  SysUtils, Variants, ActiveX, ComObj;

function Argument(Index: Integer; const Fallback: string): string;
begin
  Result := ParamStr(Index);
  if Result = '' then
    Result := Fallback;
end;

{ A byte string has one character for each byte, by the system's ANSI code page: the one that turns
  an AnsiString into a string and back. }
function TextOf(const Bytes: array of Byte): string;
var
  Narrow: AnsiString;
  I: Integer;
begin
  SetLength(Narrow, Length(Bytes));
  for I := 0 to High(Bytes) do
    Narrow[I + 1] := AnsiChar(Bytes[I]);
  Result := string(Narrow);
end;

procedure ShowBytes(const Text: string);
var
  Narrow: AnsiString;
  I: Integer;
begin
  Narrow := AnsiString(Text);
  Write('bytes read:');
  for I := 1 to Length(Narrow) do
    Write(' ', IntToHex(Ord(Narrow[I]), 2));
  WriteLn;
end;

const // typed: a literal of one character would be no string
  DataBlocks: string = 'D';
  Words: string = 'W';
  Raw: string = 'C';

{ What a write came to. Most jobs refuse to start while an error stands in err. }
procedure Report(var Plc: OleVariant; const What: string; Done: Boolean);
begin
  if Done then
    WriteLn(What, ': written')
  else
  begin
    WriteLn(What, ': refused, err ', Integer(Plc.err));
    Plc.err := 0;
  end;
end;

procedure Run(var Plc: OleVariant);
var
  Values: OleVariant;
  I: Integer;
begin
  Plc.Tzeit := 1000; // slices of up to a millisecond each
  if not Boolean(Plc.ag_ini(Argument(1, '127.0.0.1'), Argument(2, '102'),
                            Argument(3, '1.0'), Argument(4, '3.2'))) then
  begin
    WriteLn('no connection, err ', Integer(Plc.err));
    ExitCode := 1;
    Exit;
  end;
  WriteLn('connected');
  Report(Plc, 'word 4660 at byte 0', Plc.ag_WriteW(10, 0, 4660, DataBlocks));
  Report(Plc, '3 bytes at byte 20', Plc.ag_WriteMB(10, 20, TextOf([$41, $80, $FF]), DataBlocks));

  Values := Plc.ag_ReadB(10, 3, 20, Raw, DataBlocks);
  if Integer(Plc.err) = 0 then
    ShowBytes(string(Values));
  Values := Plc.ag_Read(10, 4, 0, Words, DataBlocks);
  if Integer(Plc.err) = 0 then
    for I := VarArrayLowBound(Values, 1) to VarArrayHighBound(Values, 1) do
      WriteLn('word read: ', Integer(Values[I]));
end;

var
  Plc: OleVariant;
begin
  CoInitialize(nil);
  try
    Plc := CreateOleObject('Plexum.PlexumLink');
    try
      Run(Plc);
    finally
      Plc.ag_exit;
      Plc := Unassigned; // releases the control
      WriteLn('disconnected');
    end;
  except
    on E: Exception do // a number that doesn't fit, a time-out without any answer
    begin
      WriteLn('run-time error: ', E.Message);
      ExitCode := 2;
    end;
  end;
  CoUninitialize;
end.
