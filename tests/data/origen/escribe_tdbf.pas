{ Writes the reference tables of Free Pascal's TDbf, and what TDbf itself reads back from them.

    fpc escribe_tdbf.pas
    ./escribe_tdbf FOLDER NAME DRIVER LINES [TAGS]

  FOLDER ends in /, DRIVER is the language driver id, LINES a file like lineas.csv in the table's code page, TAGS the
  letters of the tags to make: F = FECHA on DTOS(FECHA)+HORA, C = CONCEPTO, N = CODCLIENTE.
  The lines go in one by one with another hour, subject and number first, and are then edited to what they are to be,
  so that the index has seen keys come and go. Prints the lines in the order of the file, then one line for each tag
  with the record numbers in its order. }
program escribe_tdbf;

{$mode objfpc}{$H+}

uses
  cwstring, Classes, SysUtils, db, dbf, dbf_common, dbf_fields, dbf_dbffile, dbf_lang;

type
  TLang = class
    procedure Warn(Dbf_: TDbf; var Action: TDbfLanguageAction);
  end;

{ The library knows 1252 alone here; the bytes of other code pages pass through untouched. }
procedure TLang.Warn(Dbf_: TDbf; var Action: TDbfLanguageAction);
begin
  Action := laForceANSI;
end;

var
  Table: TDbf;
  Lang: TLang;
  Lines, Parts, Tags: TStringList;
  Format_: TFormatSettings;

procedure Split(const Line: string);
begin
  Parts.StrictDelimiter := True;
  Parts.Delimiter := ';';
  Parts.QuoteChar := #1;
  Parts.DelimitedText := Line;
end;

procedure Define;
var
  Defs: TDbfFieldDefs;

  procedure Add(const Name_: string; Kind: Char; Size_, Decimals: Integer);
  begin
    with Defs.AddFieldDef do
    begin
      FieldName := Name_;
      NativeFieldType := Kind;
      Size := Size_;
      Precision := Decimals;
    end;
  end;

begin
  Table := TDbf.Create(nil);
  Table.FilePath := ParamStr(1);
  Table.TableName := ParamStr(2) + '.DBF';
  Table.TableLevel := 4;
  Table.LanguageID := StrToInt(ParamStr(3));
  Table.OnLanguageWarning := @Lang.Warn;
  Defs := TDbfFieldDefs.Create(Table);
  Defs.DbfVersion := xBaseIV;
  Add('FECHA', 'D', 8, 0);
  Add('HORA', 'C', 5, 0);
  Add('CONCEPTO', 'C', 40, 0);
  Add('CODCLIENTE', 'F', 20, 4);
  Add('SALIDA', 'C', 1, 0);
  Table.CreateTableEx(Defs);
  Defs.Free;
  Table.Exclusive := True;
  Table.Open;
  if Pos('F', ParamStr(5)) > 0 then Table.AddIndex('FECHA', 'DTOS(FECHA)+HORA', [ixExpression]);
  if Pos('C', ParamStr(5)) > 0 then Table.AddIndex('CONCEPTO', 'CONCEPTO', []);
  if Pos('N', ParamStr(5)) > 0 then Table.AddIndex('CODCLIENTE', 'CODCLIENTE', []);
end;

procedure SetDate(const Text: string);
begin
  if Text = '' then Table.FieldByName('FECHA').Clear
  else Table.FieldByName('FECHA').AsDateTime := EncodeDate(StrToInt(Copy(Text, 1, 4)),
    StrToInt(Copy(Text, 5, 2)), StrToInt(Copy(Text, 7, 2)));
end;

procedure Write_;
var
  I: Integer;
begin
  for I := 0 to Lines.Count - 1 do
  begin
    Split(Lines[I]);
    Table.Append;
    SetDate(Parts[2]);
    Table.FieldByName('HORA').AsString := '12:15';
    Table.FieldByName('CONCEPTO').AsString := 'x' + IntToStr(I);
    Table.FieldByName('CODCLIENTE').AsFloat := 7 * I + 1;
    Table.Post;
  end;
  for I := 0 to Lines.Count - 1 do
  begin
    Split(Lines[I]);
    Table.PhysicalRecNo := I + 1;
    Table.Edit;
    Table.FieldByName('HORA').AsString := Parts[3];
    Table.FieldByName('CONCEPTO').AsString := Parts[4];
    if Parts[5] = '' then Table.FieldByName('CODCLIENTE').Clear
    else Table.FieldByName('CODCLIENTE').AsFloat := StrToFloat(Parts[5], Format_);
    Table.FieldByName('SALIDA').AsString := Parts[6];
    Table.Post;
  end;
  for I := Lines.Count - 1 downto 0 do
  begin
    Split(Lines[I]);
    if Parts[1] = '' then Continue;
    Table.PhysicalRecNo := I + 1;
    Table.Delete;
  end;
end;

procedure Show_;
var
  I: Integer;
  Date_, Number: string;
begin
  Table.ShowDeleted := True;
  Table.IndexName := '';
  Table.First;
  while not Table.Eof do
  begin
    Date_ := '';
    Number := '';
    if not Table.FieldByName('FECHA').IsNull then
      Date_ := FormatDateTime('yyyymmdd', Table.FieldByName('FECHA').AsDateTime);
    if not Table.FieldByName('CODCLIENTE').IsNull then
      Number := FormatFloat('0.0000', Table.FieldByName('CODCLIENTE').AsFloat, Format_);
    WriteLn(Table.PhysicalRecNo, ';', BoolToStr(Table.IsDeleted, '*', ''), ';', Date_, ';',
      TrimRight(Table.FieldByName('HORA').AsString), ';', TrimRight(Table.FieldByName('CONCEPTO').AsString), ';',
      Number, ';', TrimRight(Table.FieldByName('SALIDA').AsString));
    Table.Next;
  end;
  Table.GetIndexNames(Tags);
  for I := 0 to Tags.Count - 1 do
  begin
    Table.IndexName := Tags[I];
    Write('orden ', Tags[I]);
    Table.First;
    while not Table.Eof do
    begin
      Write(' ', Table.PhysicalRecNo);
      Table.Next;
    end;
    WriteLn;
  end;
end;

begin
  Format_ := DefaultFormatSettings;
  Format_.DecimalSeparator := '.';
  Lang := TLang.Create;
  Lines := TStringList.Create;
  Parts := TStringList.Create;
  Tags := TStringList.Create;
  Lines.LoadFromFile(ParamStr(4));
  Define;
  Write_;
  Table.Close;
  Table.Exclusive := False;
  Table.ReadOnly := True;
  Table.Open;
  Show_;
  Table.Close;
end.
