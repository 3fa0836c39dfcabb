#include "xlsreport.h"

#include "fb/decimal.h"
#include "toolkit/libroxls.h"

#include <map>
#include <set>

namespace lar::reporte {

QString formatoFechaExcel(const QString &formatoQt)
{
    QString f = formatoQt;
    // Excel reads "mm" after hours as minutes and elsewhere as the month.
    f.replace(u'M', u'm');
    f.replace(QStringLiteral("AP"), QStringLiteral("AM/PM"));
    return f;
}

bool escribeXls(const Documento &doc, const QString &ruta, QString *error)
{
    // Positions are compared to a tenth of a millimetre.
    auto clave = [](double mm) {
        return qRound(mm * 10);
    };
    std::set<int> bordes;
    for (const Hoja &h : doc.hojas) {
        for (const Primitiva &p : h.primitivas) {
            if (p.tipo == Primitiva::Tipo::Texto && !p.texto.isEmpty())
                bordes.insert(clave(p.rect.left()));
        }
    }
    std::map<int, int> columna;
    for (int b : bordes)
        columna.emplace(b, int(columna.size()));

    LibroXls libro;
    const int hoja
        = libro.agregaHoja(doc.nombre.isEmpty() ? QStringLiteral("Reporte") : doc.nombre);
    std::map<int, double> anchos;
    int fila = 0;
    for (const Hoja &h : doc.hojas) {
        std::map<int, std::vector<const Primitiva *>> renglones; // by top edge
        for (const Primitiva &p : h.primitivas) {
            if (p.tipo == Primitiva::Tipo::Texto && !p.texto.isEmpty())
                renglones[clave(p.rect.top())].push_back(&p);
        }
        for (const auto &[y, celdas] : renglones) {
            Q_UNUSED(y)
            for (const Primitiva *p : celdas) {
                const int col = columna.at(clave(p->rect.left()));
                if (col >= LibroXls::MaxColumnas)
                    continue;
                anchos[col] = std::max(anchos[col], p->rect.width() / 2.0);
                const QVariant &v = p->valor;
                const int tipo = v.metaType().id();
                if (v.metaType() == QMetaType::fromType<fb::Decimal>()) {
                    libro.numero(hoja, fila, col, v.value<fb::Decimal>().toDouble(), p->formato);
                } else if (tipo == QMetaType::Int || tipo == QMetaType::LongLong
                           || tipo == QMetaType::Double || tipo == QMetaType::Float
                           || tipo == QMetaType::Short || tipo == QMetaType::UInt) {
                    libro.numero(hoja, fila, col, v.toDouble(), p->formato);
                } else if (tipo == QMetaType::QDate) {
                    libro.fecha(hoja,
                                fila,
                                col,
                                QDateTime(v.toDate(), QTime(0, 0)),
                                formatoFechaExcel(p->formato.isEmpty()
                                                      ? QStringLiteral("dd/MM/yyyy")
                                                      : p->formato));
                } else if (tipo == QMetaType::QDateTime) {
                    libro.fecha(hoja, fila, col, v.toDateTime(), formatoFechaExcel(p->formato));
                } else {
                    libro.texto(hoja, fila, col, p->texto);
                }
            }
            ++fila;
        }
    }
    for (const auto &[col, ancho] : anchos)
        libro.anchoColumna(hoja, col, std::max(4.0, ancho));
    return libro.guarda(ruta, error);
}

} // namespace lar::reporte
