#include "impexcel.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "toolkit/hojacalculo.h"
#include "toolkit/mensajes.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSpinBox>
#include <QVBoxLayout>

namespace lar {

int ColumnaExcel(const QString &letras)
{
    if (letras.isEmpty())
        return 0;
    int n = 0;
    for (const QChar c : letras) {
        if (c < u'A' || c > u'Z')
            return 0;
        n = n * 26 + (c.unicode() - u'A' + 1);
    }
    return n;
}

ResultadoImportacion
ImportaHoja(const HojaCalculo &hoja,
            const ColumnasImportacion &col,
            const std::function<int(const QString &)> &idPorNombre,
            const std::function<int(const QString &)> &idPorClave,
            const std::function<void(const QString &, int, double, double)> &agrega)
{
    const QString fin = QStringLiteral("\r\n");
    ResultadoImportacion r;
    // As the spreadsheet application counts it: the used range's rows from the
    // first data row, wherever the used range begins.
    const int primero = col.primerRenglon;
    const int ultimo = hoja.renglonesUsados() + primero - 1;
    QString noEncontrados;
    for (int fila = primero; fila <= ultimo; ++fila) {
        int id = 0;
        const QString nombre = hoja.texto(fila, col.nombre).trimmed();
        if (!nombre.isEmpty()) {
            const double puntos = hoja.numero(fila, col.puntos);
            const double valor = hoja.numero(fila, col.valor);
            id = idPorNombre(nombre);
            if (id) {
                agrega(QString(), id, valor, puntos);
                ++r.importados;
            }
        }
        QString clave;
        if (!id) {
            clave = hoja.texto(fila, col.clave).trimmed();
            if (!clave.isEmpty()) {
                const double puntos = hoja.numero(fila, col.puntos);
                const double valor = hoja.numero(fila, col.valor);
                id = idPorClave(clave);
                if (id) {
                    agrega(clave, id, valor, puntos);
                    ++r.importados;
                }
            }
        }
        if (!id) {
            noEncontrados += (clave.isEmpty() ? QStringLiteral("Art. sin clave") : clave) + u'\t'
                             + nombre + u'\t' + QStringLiteral("1") + fin;
            ++r.noEncontrados;
        }
    }

    r.renglones = std::max(0, ultimo - primero + 1);
    const QString renglones = r.renglones == 1
                                  ? QStringLiteral("1 renglón")
                                  : QString::number(r.renglones) + QStringLiteral(" renglones");
    if (r.importados >= 2)
        r.resumen = QStringLiteral("Se importaron ") + QString::number(r.importados)
                    + QStringLiteral(" partidas de ") + renglones;
    else if (r.importados == 1)
        r.resumen = QStringLiteral("Se importó un artículo de ") + renglones;
    else
        r.resumen = QStringLiteral("No se importaron artículos en ") + renglones;
    if (r.noEncontrados > 0) {
        r.resumen += fin + fin
                     + (r.noEncontrados == 1 ? QStringLiteral("No se encontró un artículo")
                                             : QStringLiteral("No se encontraron ")
                                                   + QString::number(r.noEncontrados)
                                                   + QStringLiteral(" artículos"));
        const QString rayas = QStringLiteral("----------------------------------");
        r.detalle = rayas + fin + QStringLiteral("Artículos no encontrados: ") + fin + rayas + fin
                    + noEncontrados;
        r.resumen += fin + fin + QStringLiteral("El detalle está en el portapapeles de Windows");
    }
    return r;
}

namespace {

QString leeRaiz(Sesion &s, const QString &nombre)
{
    QString v;
    Registro(s, QString(), QStringLiteral("PuntosLar"), QString(), true, v, nombre);
    return v;
}

void guardaRaiz(Sesion &s, const QString &nombre, const QString &valor)
{
    QString v = valor;
    Registro(s, QString(), QStringLiteral("PuntosLar"), QString(), false, v, nombre);
}

QString sinBlancos(const QString &t)
{
    QString r = t;
    r.remove(u' ');
    r.remove(u'\r');
    r.remove(u'\n');
    return r;
}

} // namespace

TfImpExcelCP::TfImpExcelCP(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_s(sesion)
{
    setObjectName(QStringLiteral("TfImpExcelCP"));
    setWindowTitle(QStringLiteral("Importar de Excel"));
    auto columna = [this](const QString &nombre) {
        auto *e = new QLineEdit(this);
        e->setObjectName(nombre);
        e->setMaxLength(3);
        // Letters are forced to capitals as they are typed.
        connect(e, &QLineEdit::textEdited, e, [e](const QString &t) {
            const int p = e->cursorPosition();
            e->setText(t.toUpper());
            e->setCursorPosition(p);
        });
        e->setMaximumWidth(60);
        return e;
    };
    vExcelClave = columna(QStringLiteral("vExcelClave"));
    vExcelNombre = columna(QStringLiteral("vExcelNombre"));
    vExcelPuntos = columna(QStringLiteral("vExcelPuntos"));
    vExcelValor = columna(QStringLiteral("vExcelValor"));
    vExcelRenglon = new QSpinBox(this);
    vExcelRenglon->setObjectName(QStringLiteral("vExcelRenglon"));
    vExcelRenglon->setRange(1, 65535);
    chSaveConfig = new QCheckBox(QStringLiteral("Guardar esta configuración"), this);
    chSaveConfig->setObjectName(QStringLiteral("chSaveConfig"));
    bNext = new QPushButton(QStringLiteral("&Aceptar"), this);
    bNext->setObjectName(QStringLiteral("bNext"));
    bNext->setDefault(true);
    bCancelar = new QPushButton(QStringLiteral("&Cancelar"), this);
    bCancelar->setObjectName(QStringLiteral("bCancelar"));

    auto *f = new QFormLayout;
    f->addRow(QStringLiteral("Columna de la clave del artículo:"), vExcelClave);
    f->addRow(QStringLiteral("Columna del nombre del artículo:"), vExcelNombre);
    f->addRow(QStringLiteral("Columna de puntos:"), vExcelPuntos);
    f->addRow(QStringLiteral("Columna  valor en puntos:"), vExcelValor);
    f->addRow(QStringLiteral("Renglón donde inician los datos:"), vExcelRenglon);
    auto *botones = new QHBoxLayout;
    botones->addStretch();
    botones->addWidget(bNext);
    botones->addWidget(bCancelar);
    auto *v = new QVBoxLayout(this);
    v->addLayout(f);
    v->addWidget(chSaveConfig);
    v->addLayout(botones);
    connect(bNext, &QPushButton::clicked, this, &TfImpExcelCP::bNextClick);
    connect(bCancelar, &QPushButton::clicked, this, &QDialog::reject);

    auto valorO = [](const QString &v, const QString &def) {
        return v.isEmpty() ? def : v;
    };
    vExcelClave->setText(
        valorO(leeRaiz(m_s, QStringLiteral("ImpExcelClaveStrE")), QStringLiteral("A")));
    vExcelNombre->setText(
        valorO(leeRaiz(m_s, QStringLiteral("ImpExcelNombreStrE")), QStringLiteral("B")));
    vExcelPuntos->setText(
        valorO(leeRaiz(m_s, QStringLiteral("ImpExcelCostoStrE")), QStringLiteral("C")));
    vExcelValor->setText(leeRaiz(m_s, QStringLiteral("ImpExcelPrefijoE")));
    bool ok = false;
    const int renglon = leeRaiz(m_s, QStringLiteral("ImpExcelRenglonE")).trimmed().toInt(&ok);
    vExcelRenglon->setValue(ok ? renglon : 2);
}

ColumnasImportacion TfImpExcelCP::columnas() const
{
    return {ColumnaExcel(vExcelClave->text()),
            ColumnaExcel(vExcelNombre->text()),
            ColumnaExcel(vExcelPuntos->text()),
            ColumnaExcel(vExcelValor->text()),
            vExcelRenglon->value()};
}

void TfImpExcelCP::bNextClick()
{
    vExcelClave->setText(sinBlancos(vExcelClave->text()));
    vExcelNombre->setText(sinBlancos(vExcelNombre->text()));
    vExcelPuntos->setText(sinBlancos(vExcelPuntos->text()));
    auto falla = [](QWidget *w, const QString &texto) {
        w->setFocus();
        MensajeSistema(texto, QStringLiteral("Aviso del sistema"), mb::IconWarning);
    };
    const ColumnasImportacion c = columnas();
    if (c.clave == 0)
        return falla(vExcelClave,
                     QStringLiteral("El nombre de la columna para la clave no es válido"));
    if (c.nombre == 0)
        return falla(vExcelNombre,
                     QStringLiteral("El nombre de la columna para el nombre no es válido"));
    if (c.puntos == 0)
        return falla(vExcelPuntos,
                     QStringLiteral("El nombre de la columna para Puntos no es válido"));
    if (c.valor == 0)
        return falla(
            vExcelValor,
            QStringLiteral("El nombre de la columna para el valor en puntos no es válido"));
    if (c.clave == c.puntos || c.clave == c.valor)
        return falla(vExcelClave, QStringLiteral("Las letras de columna deben ser diferentes"));
    if (chSaveConfig->isChecked()) {
        guardaRaiz(m_s, QStringLiteral("ImpExcelClaveStrE"), vExcelClave->text());
        guardaRaiz(m_s, QStringLiteral("ImpExcelNombreStrE"), vExcelNombre->text());
        guardaRaiz(m_s, QStringLiteral("ImpExcelCostoStrE"), vExcelPuntos->text());
        guardaRaiz(m_s, QStringLiteral("ImpExcelPrefijoE"), vExcelValor->text());
        guardaRaiz(
            m_s, QStringLiteral("ImpExcelRenglonE"), QString::number(vExcelRenglon->value()));
    }
    done(1);
}

} // namespace lar
