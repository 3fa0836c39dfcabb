#include "hojacalculo.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <freexl.h>
#include <minizip/unzip.h>

#include <memory>

namespace lar {

namespace {

quint64 llave(int renglon, int columna)
{
    return (quint64(quint32(renglon)) << 32) | quint32(columna);
}

QString textoFreexl(int codigo)
{
    switch (codigo) {
    case FREEXL_FILE_NOT_FOUND:
        return QStringLiteral("el archivo no existe o no se puede leer");
    case FREEXL_INSUFFICIENT_MEMORY:
        return QStringLiteral("memoria insuficiente");
    case FREEXL_INVALID_CFBF_HEADER:
    case FREEXL_CFBF_INVALID_SIGNATURE:
        return QStringLiteral("no es un libro de Excel (.xls)");
    case FREEXL_CFBF_READ_ERROR:
    case FREEXL_CFBF_SEEK_ERROR:
    case FREEXL_CFBF_INVALID_SECTOR_SIZE:
    case FREEXL_CFBF_EMPTY_FAT_CHAIN:
    case FREEXL_CFBF_ILLEGAL_FAT_ENTRY:
        return QStringLiteral("el archivo está dañado o incompleto");
    case FREEXL_BIFF_INVALID_BOF:
    case FREEXL_BIFF_INVALID_SST:
    case FREEXL_BIFF_ILLEGAL_SST_INDEX:
    case FREEXL_BIFF_WORKBOOK_NOT_FOUND:
        return QStringLiteral("el libro está dañado o no es de Excel 97 o posterior");
    case FREEXL_UNSUPPORTED_CHARSET:
    case FREEXL_INVALID_CHARACTER:
        return QStringLiteral("el libro usa un juego de caracteres no soportado");
    default:
        return QStringLiteral("el libro no se pudo leer (código %1)").arg(codigo);
    }
}

// One entry of a zip file, read whole.
class Zip
{
public:
    explicit Zip(const QString &archivo)
        : m_zf(unzOpen64(QFile::encodeName(archivo).constData()))
    {}
    ~Zip()
    {
        if (m_zf)
            unzClose(m_zf);
    }
    bool abierto() const { return m_zf != nullptr; }
    bool lee(const QString &nombre, QByteArray &datos)
    {
        datos.clear();
        if (unzLocateFile(m_zf, nombre.toUtf8().constData(), 1) != UNZ_OK)
            return false;
        if (unzOpenCurrentFile(m_zf) != UNZ_OK)
            return false;
        char buf[65536];
        int n = 0;
        while ((n = unzReadCurrentFile(m_zf, buf, sizeof buf)) > 0)
            datos.append(buf, n);
        const bool ok = n == 0;
        return unzCloseCurrentFile(m_zf) == UNZ_OK && ok;
    }

private:
    unzFile m_zf;
};

// "AB12" -> column 28, row 12; 0 for what is missing.
void partesCelda(QStringView ref, int &columna, int &renglon)
{
    columna = 0;
    renglon = 0;
    qsizetype i = 0;
    for (; i < ref.size() && ref[i].isLetter(); ++i)
        columna = columna * 26 + (ref[i].toUpper().unicode() - u'A' + 1);
    for (; i < ref.size() && ref[i].isDigit(); ++i)
        renglon = renglon * 10 + ref[i].digitValue();
}

// The text of an element and its descendants' <t> (shared and inline strings
// with rich-text runs), leaving the reader on its end.
QString textoRico(QXmlStreamReader &x)
{
    QString texto;
    const QString fin = x.name().toString();
    int nivel = 1;
    while (!x.atEnd() && nivel > 0) {
        x.readNext();
        if (x.isStartElement()) {
            if (x.name() == u"t") {
                texto += x.readElementText(QXmlStreamReader::IncludeChildElements);
                continue;
            }
            // Phonetic guides are not part of the value.
            if (x.name() == u"rPh") {
                x.skipCurrentElement();
                continue;
            }
            ++nivel;
        } else if (x.isEndElement()) {
            --nivel;
        }
    }
    return texto;
}

} // namespace

void HojaCalculo::limpia()
{
    m_celdas.clear();
    m_primero = m_ultimo = 0;
}

void HojaCalculo::pon(int renglon, int columna, const QVariant &v)
{
    if (!v.isValid() || (v.typeId() == QMetaType::QString && v.toString().isEmpty()))
        return;
    m_celdas.insert(llave(renglon, columna), v);
    if (m_primero == 0 || renglon < m_primero)
        m_primero = renglon;
    if (renglon > m_ultimo)
        m_ultimo = renglon;
}

QVariant HojaCalculo::valor(int renglon, int columna) const
{
    return m_celdas.value(llave(renglon, columna));
}

QString HojaCalculo::texto(int renglon, int columna) const
{
    const QVariant v = valor(renglon, columna);
    if (v.typeId() == QMetaType::Double) {
        const double d = v.toDouble();
        if (d == double(qint64(d)) && qAbs(d) < 1e15)
            return QString::number(qint64(d));
        return QString::number(d, 'g', 15);
    }
    return v.toString();
}

double HojaCalculo::numero(int renglon, int columna, bool *ok) const
{
    const QVariant v = valor(renglon, columna);
    bool bien = false;
    double d = 0;
    if (v.typeId() == QMetaType::Double) {
        d = v.toDouble();
        bien = true;
    } else if (v.isValid()) {
        d = v.toString().trimmed().toDouble(&bien);
        if (!bien)
            d = 0;
    }
    if (ok)
        *ok = bien;
    return d;
}

bool HojaCalculo::abre(const QString &archivo, QString *error)
{
    limpia();
    QString e;
    bool ok = false;
    if (!QFileInfo::exists(archivo)) {
        e = QStringLiteral("el archivo no existe");
    } else {
        // The content decides, not the name: a zip is an .xlsx.
        QFile f(archivo);
        QByteArray firma;
        if (f.open(QIODevice::ReadOnly))
            firma = f.read(4);
        if (firma.startsWith("PK"))
            ok = abreXlsx(archivo, &e);
        else
            ok = abreXls(archivo, &e);
    }
    if (!ok) {
        limpia();
        if (error)
            *error = e;
    }
    return ok;
}

bool HojaCalculo::abreXls(const QString &archivo, QString *error)
{
    const void *h = nullptr;
    int r = freexl_open(QFile::encodeName(archivo).constData(), &h);
    std::unique_ptr<const void, int (*)(const void *)> cierre(h, freexl_close);
    if (r != FREEXL_OK) {
        *error = textoFreexl(r);
        return false;
    }
    if ((r = freexl_select_active_worksheet(h, 0)) != FREEXL_OK) {
        *error = textoFreexl(r);
        return false;
    }
    unsigned int renglones = 0;
    unsigned short columnas = 0;
    if ((r = freexl_worksheet_dimensions(h, &renglones, &columnas)) != FREEXL_OK) {
        *error = textoFreexl(r);
        return false;
    }
    for (unsigned int i = 0; i < renglones; ++i) {
        for (unsigned short j = 0; j < columnas; ++j) {
            FreeXL_CellValue c;
            if (freexl_get_cell_value(h, i, j, &c) != FREEXL_OK)
                continue;
            QVariant v;
            switch (c.type) {
            case FREEXL_CELL_INT:
                v = double(c.value.int_value);
                break;
            case FREEXL_CELL_DOUBLE:
                v = c.value.double_value;
                break;
            case FREEXL_CELL_TEXT:
            case FREEXL_CELL_SST_TEXT:
            case FREEXL_CELL_DATE:
            case FREEXL_CELL_DATETIME:
            case FREEXL_CELL_TIME:
                v = QString::fromUtf8(c.value.text_value);
                break;
            default:
                break;
            }
            pon(int(i) + 1, int(j) + 1, v);
        }
    }
    return true;
}

bool HojaCalculo::abreXlsx(const QString &archivo, QString *error)
{
    Zip zip(archivo);
    if (!zip.abierto()) {
        *error = QStringLiteral("el archivo está dañado o no es un libro de Excel (.xlsx)");
        return false;
    }
    QByteArray datos;
    if (!zip.lee(QStringLiteral("xl/workbook.xml"), datos)) {
        *error = QStringLiteral("el libro no tiene la lista de hojas (xl/workbook.xml)");
        return false;
    }
    // Sheet 1 is the first <sheet> of the workbook, found through its relationship.
    QString relacion;
    {
        QXmlStreamReader x(datos);
        while (!x.atEnd() && relacion.isEmpty()) {
            if (x.readNext() == QXmlStreamReader::StartElement && x.name() == u"sheet") {
                for (const QXmlStreamAttribute &a : x.attributes()) {
                    if (a.name() == u"id")
                        relacion = a.value().toString();
                }
            }
        }
    }
    if (relacion.isEmpty()) {
        *error = QStringLiteral("el libro no tiene hojas");
        return false;
    }
    QString hoja;
    if (zip.lee(QStringLiteral("xl/_rels/workbook.xml.rels"), datos)) {
        QXmlStreamReader x(datos);
        while (!x.atEnd() && hoja.isEmpty()) {
            if (x.readNext() == QXmlStreamReader::StartElement && x.name() == u"Relationship"
                && x.attributes().value(QStringLiteral("Id")) == relacion) {
                hoja = x.attributes().value(QStringLiteral("Target")).toString();
            }
        }
    }
    if (hoja.isEmpty()) {
        *error = QStringLiteral("no se encontró la primera hoja del libro");
        return false;
    }
    hoja = hoja.startsWith(u'/') ? hoja.mid(1) : QStringLiteral("xl/") + hoja;

    QStringList compartidas;
    if (zip.lee(QStringLiteral("xl/sharedStrings.xml"), datos)) {
        QXmlStreamReader x(datos);
        while (!x.atEnd()) {
            if (x.readNext() == QXmlStreamReader::StartElement && x.name() == u"si")
                compartidas << textoRico(x);
        }
        if (x.hasError()) {
            *error = QStringLiteral("textos del libro dañados: ") + x.errorString();
            return false;
        }
    }

    if (!zip.lee(hoja, datos)) {
        *error = QStringLiteral("no se pudo leer la hoja ") + hoja;
        return false;
    }
    QXmlStreamReader x(datos);
    int renglon = 0;
    int columna = 0;
    while (!x.atEnd()) {
        if (x.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (x.name() == u"row") {
            const QStringView r = x.attributes().value(QStringLiteral("r"));
            renglon = r.isEmpty() ? renglon + 1 : r.toInt();
            columna = 0;
        } else if (x.name() == u"c") {
            const QXmlStreamAttributes at = x.attributes();
            const QString tipo = at.value(QStringLiteral("t")).toString();
            int c = 0, r = 0;
            partesCelda(at.value(QStringLiteral("r")), c, r);
            columna = c ? c : columna + 1;
            const int fila = r ? r : renglon;
            QVariant v;
            // Up to the end of the cell: <v>, <is>, <f>.
            while (!x.atEnd()) {
                x.readNext();
                if (x.isEndElement() && x.name() == u"c")
                    break;
                if (!x.isStartElement())
                    continue;
                if (x.name() == u"v") {
                    const QString t = x.readElementText();
                    if (tipo == u"s")
                        v = compartidas.value(t.toInt());
                    else if (tipo == u"str" || tipo == u"e")
                        v = t;
                    else if (tipo == u"b")
                        v = double(t.toInt());
                    else {
                        bool ok = false;
                        const double d = t.toDouble(&ok);
                        v = ok ? QVariant(d) : QVariant(t);
                    }
                } else if (x.name() == u"is") {
                    v = textoRico(x);
                } else {
                    x.skipCurrentElement();
                }
            }
            pon(fila, columna, v);
        }
    }
    if (x.hasError()) {
        *error = QStringLiteral("la hoja está dañada: ") + x.errorString();
        return false;
    }
    return true;
}

} // namespace lar
