#include "exportaexcel.h"

#include "toolkit/libroxls.h"
#include "toolkit/memgrid.h"
#include "toolkit/mensajes.h"
#include "toolkit/shell.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QPointer>

namespace lar {

namespace {

const QString &extension()
{
    static const QString e = QStringLiteral(".xls");
    return e;
}

QPointer<QFileDialog> &dialogo()
{
    static QPointer<QFileDialog> d;
    return d;
}

void liberaDialogo()
{
    delete dialogo().data();
}

// The integer part of a number mask in Excel's grouping: "#,##0" and its kin.
QString enteroAgrupado(const QString &entero)
{
    const auto ceros = entero.count(u'0');
    const auto digitos = std::max<qsizetype>(4, ceros);
    QString s = QString(digitos - ceros, u'#') + QString(ceros, u'0');
    s.insert(s.size() - 3, u',');
    return s;
}

QString seccionExcel(const QString &seccion)
{
    // The number mask: the run of '#', '0', ',' and '.' outside quotes.
    static const QString mascara = QStringLiteral("#0,.");
    qsizetype inicio = -1, fin = -1;
    QChar comilla;
    for (qsizetype i = 0; i < seccion.size(); ++i) {
        const QChar c = seccion[i];
        if (!comilla.isNull()) {
            if (c == comilla)
                comilla = QChar();
            continue;
        }
        if (c == u'"' || c == u'\'') {
            comilla = c;
            if (inicio >= 0)
                break;
            continue;
        }
        if (mascara.contains(c)) {
            if (inicio < 0)
                inicio = i;
            fin = i + 1;
        } else if (inicio >= 0) {
            break;
        }
    }
    if (inicio < 0)
        return seccion;
    const QString numero = seccion.mid(inicio, fin - inicio);
    const qsizetype punto = numero.indexOf(u'.');
    const QString entero = punto < 0 ? numero : numero.left(punto);
    if (!entero.startsWith(u',') && !entero.endsWith(u','))
        return seccion;
    QString nuevo = enteroAgrupado(QString(entero).remove(u','));
    if (punto >= 0)
        nuevo += QString(numero.mid(punto)).remove(u',');
    return seccion.left(inicio) + nuevo + seccion.mid(fin);
}

} // namespace

QString FormatoExcel(const QString &displayFormat)
{
    QStringList secciones = displayFormat.split(u';');
    for (QString &s : secciones)
        s = seccionExcel(s);
    return secciones.join(u';');
}

QString ArchivoExportado(const QString &elegido)
{
    return QString(elegido).remove(extension()) + extension();
}

QString ArchivoAbierto(const QString &elegido)
{
    return elegido.contains(extension()) ? elegido : elegido + extension();
}

bool EscribeGridXls(const MemGrid &grid, const QString &ruta, QString *error)
{
    const MemTableModel *modelo = grid.memModel();
    MemTable *tabla = grid.table();
    LibroXls libro;
    const int hoja = libro.agregaHoja(QString());
    const QHeaderView *cabecera = grid.horizontalHeader();
    const int anchoCaracter = std::max(1, grid.fontMetrics().horizontalAdvance(u'0'));

    struct Columna
    {
        int columna;
        int campo;
        QString formato;
    };
    std::vector<Columna> columnas;
    for (int visual = 0; visual < cabecera->count(); ++visual) {
        const int c = cabecera->logicalIndex(visual);
        if (c < 0 || grid.isColumnHidden(c) || grid.columnWidth(c) <= 0)
            continue;
        Columna col{c, modelo->columnField(c), {}};
        if (tabla && col.campo >= 0)
            col.formato = FormatoExcel(tabla->fieldDef(col.campo).displayFormat);
        const int x = int(columnas.size());
        libro.texto(hoja, 0, x, modelo->headerData(c, Qt::Horizontal).toString());
        libro.anchoColumna(hoja, x, double(grid.columnWidth(c)) / anchoCaracter);
        columnas.push_back(col);
    }

    const int filas = tabla ? tabla->recordCount() : 0;
    for (int f = 0; f < filas; ++f) {
        for (int x = 0; x < int(columnas.size()); ++x) {
            const Columna &col = columnas[size_t(x)];
            if (col.campo < 0)
                continue;
            const QVariant &v = tabla->valueAt(f, col.campo);
            if (v.isNull())
                continue;
            const FieldDef &def = tabla->fieldDef(col.campo);
            switch (def.type) {
            case FieldType::Integer:
                libro.numero(hoja, f + 1, x, double(v.toLongLong()), col.formato);
                break;
            case FieldType::Float:
                libro.numero(hoja, f + 1, x, v.toDouble(), col.formato);
                break;
            case FieldType::Currency:
                libro.numero(hoja, f + 1, x, v.value<fb::Decimal>().toDouble(), col.formato);
                break;
            case FieldType::Date:
                libro.fecha(hoja,
                            f + 1,
                            x,
                            QDateTime(v.toDate(), QTime(0, 0)),
                            QStringLiteral("dd/mm/yyyy"));
                break;
            case FieldType::DateTime:
                libro.fecha(hoja, f + 1, x, v.toDateTime(), {}); // with the time when there is one
                break;
            case FieldType::Boolean:
            case FieldType::String:
                libro.texto(hoja, f + 1, x, MemTable::displayText(def, v));
                break;
            }
        }
    }
    return libro.guarda(ruta, error);
}

QFileDialog *DialogoGuardarExcel()
{
    if (!dialogo()) {
        auto *d = new QFileDialog;
        d->setObjectName(QStringLiteral("SaveDialog"));
        d->setAcceptMode(QFileDialog::AcceptSave);
        d->setFileMode(QFileDialog::AnyFile);
        // An overwrite question would be a box of its own, outside the system's messages.
        d->setOption(QFileDialog::DontConfirmOverwrite);
        d->setWindowModality(Qt::ApplicationModal);
        dialogo() = d;
        qAddPostRoutine(liberaDialogo);
    }
    return dialogo();
}

void ExportaExcel(const MemGrid &grid)
{
    QFileDialog *d = DialogoGuardarExcel();
    d->setDefaultSuffix(QStringLiteral("xls"));
    d->setNameFilter(QStringLiteral("Archivos de excel (*.xls)"));
    if (d->exec() != QDialog::Accepted || d->selectedFiles().isEmpty())
        return;
    const QString elegido = d->selectedFiles().constFirst();
    QString error;
    if (!EscribeGridXls(grid, ArchivoExportado(elegido), &error)) {
        MensajeSistema(QStringLiteral("No fue posible crear el documento, verifique que no esté "
                                      "abierto y que tenga permisos de escritura\r\r")
                           + error,
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return;
    }
    AperturaShell a;
    a.archivo = ArchivoAbierto(elegido);
    a.mostrar = sw::MinimizadaSinFoco;
    ServicioShell::abre(a);
}

} // namespace lar
