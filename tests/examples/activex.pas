// Stands in for the unit of Windows, so that the example compiles elsewhere.
unit ActiveX;
interface
function CoInitialize(Reserved: Pointer): LongInt;
procedure CoUninitialize;
implementation
function CoInitialize(Reserved: Pointer): LongInt;
begin
  Result := 0;
end;
procedure CoUninitialize;
begin
end;
end.
