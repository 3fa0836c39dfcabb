# A small .xlsx written by hand: inline strings, a formula string, rich-text
# shared strings, and a first sheet that isn't sheet1.xml. Argument: the path.
import sys, zipfile
z = zipfile.ZipFile(sys.argv[1], 'w')
z.writestr('[Content_Types].xml', '<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"/>')
z.writestr('xl/workbook.xml', '<?xml version="1.0"?><workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets><sheet name="Primera" sheetId="2" r:id="rId7"/><sheet name="Segunda" sheetId="1" r:id="rId1"/></sheets></workbook>')
z.writestr('xl/_rels/workbook.xml.rels', '<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="ws" Target="worksheets/sheet1.xml"/><Relationship Id="rId7" Type="ws" Target="/xl/worksheets/hoja9.xml"/></Relationships>')
z.writestr('xl/sharedStrings.xml', '<?xml version="1.0"?><sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><si><t>cero</t></si><si><r><t>Ri</t></r><r><rPr><b/></rPr><t>co</t></r><rPh><t>x</t></rPh></si></sst>')
z.writestr('xl/worksheets/sheet1.xml', '<?xml version="1.0"?><worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData><row r="1"><c r="A1" t="inlineStr"><is><t>segunda</t></is></c></row></sheetData></worksheet>')
z.writestr('xl/worksheets/hoja9.xml', '<?xml version="1.0"?><worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData><row r="2"><c r="A2" t="inlineStr"><is><t>En línea</t></is></c><c r="B2" t="s"><v>1</v></c><c r="C2" t="str"><f>A2</f><v>fórmula</v></c><c r="D2"><v>3.25</v></c></row><row r="4"><c r="AA4" t="s"><v>0</v></c></row></sheetData></worksheet>')
z.close()
