#include "libroxls.h"

#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lar {

namespace {

// BIFF8 records carry at most this many bytes of data; longer ones go on in CONTINUE.
constexpr int MaxDatos = 8224;
// Cell styles 0-14 are the style records Excel expects first; 15 is the plain cell.
constexpr int XfGeneral = 15;
constexpr int PrimerFormatoPropio = 164;

constexpr quint32 FinCadena = 0xFFFFFFFE; // ENDOFCHAIN
constexpr quint32 Libre = 0xFFFFFFFF;     // FREESECT, NOSTREAM
constexpr quint32 SectorFat = 0xFFFFFFFD;
constexpr quint32 SectorDifat = 0xFFFFFFFC;
constexpr int Sector = 512;
constexpr int IdsPorSector = Sector / 4;
constexpr int FatEnCabecera = 109;
// A smaller stream would belong in the mini stream; padding is simpler and valid.
constexpr int MinimoFlujo = 4096;

void u8(QByteArray &b, quint32 v)
{
    b.append(char(v & 0xFF));
}

void u16(QByteArray &b, quint32 v)
{
    u8(b, v);
    u8(b, v >> 8);
}

void u32(QByteArray &b, quint32 v)
{
    u16(b, v & 0xFFFF);
    u16(b, v >> 16);
}

void f64(QByteArray &b, double v)
{
    quint64 bits;
    std::memcpy(&bits, &v, sizeof bits);
    u32(b, quint32(bits));
    u32(b, quint32(bits >> 32));
}

void parche32(QByteArray &b, qsizetype pos, quint32 v)
{
    for (int i = 0; i < 4; ++i)
        b[pos + i] = char((v >> (8 * i)) & 0xFF);
}

// Text whose characters all fit in one byte is stored "compressed" (the low byte of
// each UTF-16 unit: Latin-1, not Windows-1252, so the euro sign needs two bytes).
bool dosBytes(QStringView s)
{
    return std::any_of(s.begin(), s.end(), [](QChar c) { return c.unicode() > 0xFF; });
}

void caracteres(QByteArray &b, QStringView s, bool anchos)
{
    for (QChar c : s) {
        if (anchos)
            u16(b, c.unicode());
        else
            u8(b, c.unicode());
    }
}

// XLUnicodeString (16-bit length) or ShortXLUnicodeString (8-bit length).
QByteArray cadena(const QString &s, bool corta)
{
    QByteArray b;
    const bool anchos = dosBytes(s);
    if (corta)
        u8(b, quint32(s.size()));
    else
        u16(b, quint32(s.size()));
    u8(b, anchos ? 1 : 0);
    caracteres(b, s, anchos);
    return b;
}

void registro(QByteArray &s, quint16 tipo, const QByteArray &datos)
{
    u16(s, tipo);
    u16(s, quint32(datos.size()));
    s.append(datos);
}

QByteArray bof(quint16 tipo)
{
    QByteArray d;
    u16(d, 0x0600); // BIFF8
    u16(d, tipo);
    u16(d, 0x0DBB); // build and year of the application that wrote it
    u16(d, 0x07CC);
    u32(d, 0);
    u32(d, 0x06);
    return d;
}

QByteArray xf(quint16 formato, bool estilo)
{
    QByteArray d;
    u16(d, 0); // font
    u16(d, formato);
    u16(d, estilo ? 0xFFF5 : 0x0001); // locked; a style, or a cell on style 0
    u8(d, 0x20);                      // aligned to the bottom
    u8(d, 0);
    u8(d, 0);
    u8(d, !estilo && formato ? 0x04 : 0); // the number format differs from the style's
    u32(d, 0);                            // no borders
    u32(d, 0);
    u16(d, 0x20C0); // no fill: system foreground and background colours
    return d;
}

// The shared string table, continued in CONTINUE records as needed, and its index
// (EXTSST). `s` is the workbook stream so far, so offsets in it are absolute.
void escribeSst(QByteArray &s, const std::vector<QString> &cadenas, quint32 usos)
{
    const int n = int(cadenas.size());
    const int porGrupo = std::max(8, (n + 127) / 128);
    QByteArray rec;
    u32(rec, usos);
    u32(rec, quint32(n));
    quint16 tipo = 0x00FC;
    auto cierra = [&] {
        registro(s, tipo, rec);
        rec.clear();
        tipo = 0x003C;
    };
    QByteArray indice;
    u16(indice, quint32(porGrupo));
    for (int i = 0; i < n; ++i) {
        const QString &t = cadenas[size_t(i)];
        const bool anchos = dosBytes(t);
        const int ancho = anchos ? 2 : 1;
        // A string's header and first character never part.
        if (rec.size() + 3 + ancho > MaxDatos)
            cierra();
        if (i % porGrupo == 0) {
            u32(indice, quint32(s.size() + 4 + rec.size()));
            u16(indice, quint32(4 + rec.size()));
            u16(indice, 0);
        }
        u16(rec, quint32(t.size()));
        u8(rec, anchos ? 1 : 0);
        qsizetype hecho = 0;
        while (hecho < t.size()) {
            const qsizetype caben = (MaxDatos - rec.size()) / ancho;
            if (caben == 0) {
                cierra();
                u8(rec, anchos ? 1 : 0); // a continued string states its width again
                continue;
            }
            const qsizetype k = std::min(caben, t.size() - hecho);
            caracteres(rec, QStringView(t).mid(hecho, k), anchos);
            hecho += k;
        }
    }
    cierra();
    registro(s, 0x00FF, indice);
}

QByteArray
entradaDirectorio(const QString &nombre, quint8 tipo, quint32 hijo, quint32 inicio, quint32 tamano)
{
    QByteArray d;
    caracteres(d, nombre, true);
    d.append(64 - d.size(), '\0');
    u16(d, nombre.isEmpty() ? 0 : quint32(nombre.size() + 1) * 2);
    u8(d, tipo);
    u8(d, 1); // black: a one-entry tree is valid as it stands
    u32(d, Libre);
    u32(d, Libre);
    u32(d, hijo);
    d.append(16 + 4 + 8 + 8, '\0'); // class id, state bits, creation and change times
    u32(d, inicio);
    u32(d, tamano);
    u32(d, 0);
    return d;
}

// The stream "Workbook" in a compound document of 512-byte sectors: the stream,
// one directory sector, the FAT sectors and, past 109 of those, DIFAT sectors.
QByteArray documentoCompuesto(QByteArray flujo)
{
    if (flujo.size() < MinimoFlujo)
        flujo.append(MinimoFlujo - flujo.size(), '\0');
    const quint32 tamano = quint32(flujo.size());
    if (flujo.size() % Sector)
        flujo.append(Sector - flujo.size() % Sector, '\0');
    const int nFlujo = int(flujo.size() / Sector);
    int nFat = 0;
    int nDifat = 0;
    for (;;) {
        const int total = nFlujo + 1 + nFat + nDifat;
        const int fat = (total + IdsPorSector - 1) / IdsPorSector;
        const int difat = fat > FatEnCabecera
                              ? (fat - FatEnCabecera + IdsPorSector - 2) / (IdsPorSector - 1)
                              : 0;
        if (fat == nFat && difat == nDifat)
            break;
        nFat = fat;
        nDifat = difat;
    }
    const quint32 dir = quint32(nFlujo);
    const quint32 primeraFat = dir + 1;
    const quint32 primeraDifat = primeraFat + quint32(nFat);

    std::vector<quint32> fat(size_t(nFat) * IdsPorSector, Libre);
    for (int i = 0; i < nFlujo; ++i)
        fat[size_t(i)] = i + 1 < nFlujo ? quint32(i + 1) : FinCadena;
    fat[dir] = FinCadena;
    for (int i = 0; i < nFat; ++i)
        fat[primeraFat + i] = SectorFat;
    for (int i = 0; i < nDifat; ++i)
        fat[primeraDifat + i] = SectorDifat;

    QByteArray doc;
    doc.append("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    doc.append(16, '\0');
    u16(doc, 0x003E);
    u16(doc, 0x0003);
    u16(doc, 0xFFFE);
    u16(doc, 9); // 512-byte sectors
    u16(doc, 6); // 64-byte mini sectors
    doc.append(6, '\0');
    u32(doc, 0); // directory sectors: always 0 in version 3
    u32(doc, quint32(nFat));
    u32(doc, dir);
    u32(doc, 0);
    u32(doc, MinimoFlujo);
    u32(doc, FinCadena); // no mini FAT
    u32(doc, 0);
    u32(doc, nDifat ? primeraDifat : FinCadena);
    u32(doc, quint32(nDifat));
    for (int i = 0; i < FatEnCabecera; ++i)
        u32(doc, i < nFat ? primeraFat + quint32(i) : Libre);
    doc.append(Sector - doc.size(), '\0');

    doc.append(flujo);

    QByteArray directorio;
    directorio.append(entradaDirectorio(QStringLiteral("Root Entry"), 5, 1, FinCadena, 0));
    directorio.append(entradaDirectorio(QStringLiteral("Workbook"), 2, Libre, 0, tamano));
    for (int i = 0; i < 2; ++i)
        directorio.append(entradaDirectorio(QString(), 0, Libre, 0, 0));
    doc.append(directorio);

    for (quint32 id : fat)
        u32(doc, id);

    int siguienteFat = FatEnCabecera;
    for (int i = 0; i < nDifat; ++i) {
        for (int k = 0; k < IdsPorSector - 1; ++k, ++siguienteFat)
            u32(doc, siguienteFat < nFat ? primeraFat + quint32(siguienteFat) : Libre);
        u32(doc, i + 1 < nDifat ? primeraDifat + quint32(i + 1) : FinCadena);
    }
    return doc;
}

QString nombreHojaValido(QString nombre)
{
    static const QString prohibidos = QStringLiteral("[]:*?/\\");
    for (QChar &c : nombre) {
        if (prohibidos.contains(c) || c.unicode() < 0x20)
            c = u'_';
    }
    return nombre.trimmed().left(31);
}

} // namespace

LibroXls::LibroXls() = default;
LibroXls::~LibroXls() = default;

int LibroXls::agregaHoja(const QString &nombre)
{
    const QString base = nombreHojaValido(nombre);
    auto usado = [this](const QString &n) {
        return std::any_of(m_hojas.begin(), m_hojas.end(), [&](const auto &h) {
            return h->nombre.compare(n, Qt::CaseInsensitive) == 0;
        });
    };
    QString final = base;
    if (base.isEmpty()) {
        for (int i = hojas() + 1; final.isEmpty() || usado(final); ++i)
            final = QStringLiteral("Hoja%1").arg(i);
    }
    for (int i = 2; usado(final); ++i) {
        const QString sufijo = QStringLiteral(" (%1)").arg(i);
        final = base.left(31 - sufijo.size()) + sufijo;
    }
    auto h = std::make_unique<Hoja>();
    h->nombre = final;
    m_hojas.push_back(std::move(h));
    return hojas() - 1;
}

QString LibroXls::nombreHoja(int hoja) const
{
    return hoja >= 0 && hoja < hojas() ? m_hojas[size_t(hoja)]->nombre : QString();
}

LibroXls::Hoja *LibroXls::hoja(int n)
{
    return n >= 0 && n < hojas() ? m_hojas[size_t(n)].get() : nullptr;
}

int LibroXls::xfDeFormato(const QString &formato)
{
    if (formato.isEmpty() || formato.compare(u"General", Qt::CaseInsensitive) == 0)
        return XfGeneral;
    auto f = std::find(m_formatos.begin(), m_formatos.end(), formato);
    if (f == m_formatos.end())
        f = m_formatos.insert(m_formatos.end(), formato);
    const int codigo = PrimerFormatoPropio + int(f - m_formatos.begin());
    auto x = std::find(m_xfFormato.begin(), m_xfFormato.end(), codigo);
    if (x == m_xfFormato.end())
        x = m_xfFormato.insert(m_xfFormato.end(), codigo);
    return XfGeneral + 1 + int(x - m_xfFormato.begin());
}

void LibroXls::pon(int n, int fila, int col, const Celda &c)
{
    Hoja *h = hoja(n);
    if (!h)
        return;
    if (fila < 0 || fila >= MaxFilas || col < 0 || col >= MaxColumnas) {
        h->fueraDeRango = true;
        return;
    }
    h->celdas[{fila, col}] = c;
}

void LibroXls::texto(int hoja, int fila, int col, const QString &t)
{
    if (t.isEmpty())
        return;
    // Excel holds at most 32,767 characters in a cell.
    const QString s = t.left(32767);
    auto [it, nueva] = m_indiceCadena.try_emplace(s, int(m_cadenas.size()));
    if (nueva)
        m_cadenas.push_back(s);
    pon(hoja, fila, col, {Celda::Texto, XfGeneral, double(it->second)});
}

void LibroXls::numero(int hoja, int fila, int col, double v, const QString &formato)
{
    if (!std::isfinite(v)) // a NUMBER record can't hold it
        return;
    pon(hoja, fila, col, {Celda::Numero, xfDeFormato(formato), v});
}

void LibroXls::fecha(int hoja, int fila, int col, const QDateTime &v, const QString &formato)
{
    if (!v.isValid())
        return;
    // Serial numbers of the 1900 date system; before March 1900 Excel counts a
    // 29 February that never was, dates a shop doesn't use.
    const double dias = double(QDate(1899, 12, 30).daysTo(v.date()));
    const double parte = double(v.time().msecsSinceStartOfDay()) / 86400000.0;
    QString f = formato;
    if (f.isEmpty())
        f = v.time().msecsSinceStartOfDay() ? QStringLiteral("dd/mm/yyyy hh:mm:ss")
                                            : QStringLiteral("dd/mm/yyyy");
    pon(hoja, fila, col, {Celda::Numero, xfDeFormato(f), dias + parte});
}

void LibroXls::anchoColumna(int n, int col, double caracteres)
{
    Hoja *h = hoja(n);
    if (!h || col < 0 || col >= MaxColumnas)
        return;
    h->anchos[col] = std::clamp(caracteres, 0.0, 255.0);
}

QByteArray LibroXls::libroBiff() const
{
    std::vector<const Hoja *> hojas;
    Hoja vacia;
    vacia.nombre = QStringLiteral("Hoja1");
    for (const auto &h : m_hojas)
        hojas.push_back(h.get());
    if (hojas.empty()) // Excel refuses a workbook without sheets
        hojas.push_back(&vacia);

    quint32 usos = 0;
    for (const Hoja *h : hojas) {
        for (const auto &[pos, c] : h->celdas)
            usos += c.tipo == Celda::Texto;
    }

    QByteArray s;
    registro(s, 0x0809, bof(0x0005));
    QByteArray d;
    u16(d, 1200); // text is UTF-16
    registro(s, 0x0042, d);
    d.clear();
    for (quint32 v : {0u, 0u, 0x4000u, 0x2000u, 0x0038u, 0u, 0u, 1u, 0x0258u})
        u16(d, v);
    registro(s, 0x003D, d); // WINDOW1
    d.clear();
    u16(d, 0);
    registro(s, 0x0022, d); // 1900 date system

    QByteArray fuente;
    u16(fuente, 200); // 10 points
    u16(fuente, 0);
    u16(fuente, 0x7FFF);
    u16(fuente, 400);
    u16(fuente, 0);
    u8(fuente, 0);
    u8(fuente, 0);
    u8(fuente, 0);
    u8(fuente, 0);
    fuente.append(cadena(QStringLiteral("Arial"), true));
    for (int i = 0; i < 5; ++i) // font number 4 doesn't exist: records 0-3, then 5
        registro(s, 0x0031, fuente);

    for (size_t i = 0; i < m_formatos.size(); ++i) {
        d.clear();
        u16(d, quint32(PrimerFormatoPropio + int(i)));
        d.append(cadena(m_formatos[i], false));
        registro(s, 0x041E, d);
    }
    for (int i = 0; i < XfGeneral; ++i)
        registro(s, 0x00E0, xf(0, true));
    registro(s, 0x00E0, xf(0, false));
    for (int codigo : m_xfFormato)
        registro(s, 0x00E0, xf(quint16(codigo), false));
    d.clear();
    u16(d, 0x8000); // the built-in style "Normal" on style record 0
    u8(d, 0);
    u8(d, 0xFF);
    registro(s, 0x0293, d);

    std::vector<qsizetype> posiciones;
    for (const Hoja *h : hojas) {
        d.clear();
        u32(d, 0); // where the sheet starts, known once the globals are written
        u8(d, 0);
        u8(d, 0);
        d.append(cadena(h->nombre, true));
        posiciones.push_back(s.size() + 4);
        registro(s, 0x0085, d);
    }
    escribeSst(s, m_cadenas, usos);
    registro(s, 0x000A, {});

    for (size_t n = 0; n < hojas.size(); ++n) {
        const Hoja *h = hojas[n];
        parche32(s, posiciones[n], quint32(s.size()));
        registro(s, 0x0809, bof(0x0010));
        for (const auto &[col, ancho] : h->anchos) {
            d.clear();
            u16(d, quint32(col));
            u16(d, quint32(col));
            u16(d, quint32(std::lround(ancho * 256)));
            u16(d, XfGeneral);
            u16(d, 0);
            u16(d, 0);
            registro(s, 0x007D, d);
        }
        int filaMin = 0, filaMax = 0, colMin = 0, colMax = 0;
        if (!h->celdas.empty()) {
            filaMin = h->celdas.begin()->first.first;
            filaMax = h->celdas.rbegin()->first.first + 1;
            colMin = MaxColumnas;
            for (const auto &[pos, c] : h->celdas) {
                colMin = std::min(colMin, pos.second);
                colMax = std::max(colMax, pos.second + 1);
            }
        }
        d.clear();
        u32(d, quint32(filaMin));
        u32(d, quint32(filaMax));
        u16(d, quint32(colMin));
        u16(d, quint32(colMax));
        u16(d, 0);
        registro(s, 0x0200, d); // DIMENSIONS
        for (const auto &[pos, c] : h->celdas) {
            d.clear();
            u16(d, quint32(pos.first));
            u16(d, quint32(pos.second));
            u16(d, quint32(c.xf));
            if (c.tipo == Celda::Texto) {
                u32(d, quint32(c.valor));
                registro(s, 0x00FD, d); // LABELSST
            } else {
                f64(d, c.valor);
                registro(s, 0x0203, d); // NUMBER
            }
        }
        d.clear();
        u16(d, n == 0 ? 0x06B6 : 0x00B6); // grid, headers, zeros; the first sheet selected
        u16(d, 0);
        u16(d, 0);
        u32(d, 0x40);
        u16(d, 0);
        u16(d, 0);
        u32(d, 0);
        registro(s, 0x023E, d); // WINDOW2
        registro(s, 0x000A, {});
    }
    return s;
}

QByteArray LibroXls::contenido(QString *error) const
{
    for (const auto &h : m_hojas) {
        if (h->fueraDeRango) {
            if (error)
                *error = QStringLiteral("La hoja \"%1\" tiene datos fuera de las %2 filas y %3 "
                                        "columnas que admite un libro .xls")
                             .arg(h->nombre)
                             .arg(MaxFilas)
                             .arg(MaxColumnas);
            return {};
        }
    }
    return documentoCompuesto(libroBiff());
}

bool LibroXls::guarda(const QString &ruta, QString *error)
{
    const QByteArray bytes = contenido(error);
    if (bytes.isEmpty())
        return false;
    QSaveFile f(ruta);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size() || !f.commit()) {
        if (error)
            *error = QStringLiteral("No se pudo escribir el archivo %1: %2")
                         .arg(ruta, f.errorString());
        return false;
    }
    return true;
}

} // namespace lar
