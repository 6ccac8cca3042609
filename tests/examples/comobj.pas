// Stands in for the unit of Windows, so that the example compiles elsewhere.
unit ComObj;
interface
function CreateOleObject(const ClassName: string): OleVariant;
implementation
function CreateOleObject(const ClassName: string): OleVariant;
begin
  Result := ClassName;
end;
end.
