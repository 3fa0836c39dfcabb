#include "imprimirforma.h"

#include "formas.h"
#include "impresoras.h"
#include "preview.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/reporte/impresion.h"
#include "toolkit/reporte/reporte.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPageSetupDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace lar {

TfImprimirForma::TfImprimirForma(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_sesion(sesion)
{
    setObjectName(QStringLiteral("TfImprimirForma"));
    setWindowTitle(QStringLiteral("Imprimir"));
    resize(460, 340);

    pcPaginas = new QTabWidget(this);
    pcPaginas->setObjectName(QStringLiteral("pcPaginas"));
    tsImpresora = new QWidget;
    tsImpresora->setObjectName(QStringLiteral("tsImpresora"));
    tsForma = new QWidget;
    tsForma->setObjectName(QStringLiteral("tsForma"));
    pcPaginas->addTab(tsImpresora, QStringLiteral("Impresora"));
    pcPaginas->addTab(tsForma, QStringLiteral("Forma"));

    vPrinters = new QComboBox;
    vPrinters->setObjectName(QStringLiteral("vPrinters"));
    vPrinters->setAccessibleName(QStringLiteral("Impresora"));
    bPropiedades = new QPushButton(QStringLiteral("&Propiedades"));
    bPropiedades->setObjectName(QStringLiteral("bPropiedades"));
    auto etiqueta = [](const QString &nombre) {
        auto *l = new QLabel;
        l->setObjectName(nombre);
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        return l;
    };
    lTipo = etiqueta(QStringLiteral("lTipo"));
    lUbicacion = etiqueta(QStringLiteral("lUbicacion"));
    lComentario = etiqueta(QStringLiteral("lComentario"));
    lEstado = etiqueta(QStringLiteral("lEstado"));
    vForma = new QLineEdit;
    vForma->setObjectName(QStringLiteral("vForma"));
    vForma->setAccessibleName(QStringLiteral("Forma"));
    vForma->setReadOnly(true);
    vForma->installEventFilter(this);
    vPrintToFile = new QCheckBox(QStringLiteral("Imprimir a un archivo"));
    vPrintToFile->setObjectName(QStringLiteral("vPrintToFile"));

    auto *filaImpresora = new QHBoxLayout;
    filaImpresora->addWidget(vPrinters, 1);
    filaImpresora->addWidget(bPropiedades);
    auto *datos = new QFormLayout;
    datos->addRow(QStringLiteral("Nombre:"), filaImpresora);
    datos->addRow(QStringLiteral("Tipo:"), lTipo);
    datos->addRow(QStringLiteral("Ubicación:"), lUbicacion);
    datos->addRow(QStringLiteral("Comentario:"), lComentario);
    datos->addRow(QStringLiteral("Estado:"), lEstado);
    datos->addRow(QStringLiteral("Forma:"), vForma);
    datos->addRow(QString(), vPrintToFile);
    tsImpresora->setLayout(datos);

    mForma = new MemTable(this);
    mForma->setObjectName(QStringLiteral("mForma"));
    mForma->addField(QStringLiteral("Nombre"), FieldType::String, 60);
    mForma->open();
    cxGridFormas = new MemGrid;
    cxGridFormas->setObjectName(QStringLiteral("cxGridFormas"));
    cxGridFormas->setTable(mForma);
    cxGridFormas->horizontalHeader()->setStretchLastSection(true);
    cxGridFormas->verticalHeader()->hide();
    auto *lForma = new QVBoxLayout(tsForma);
    lForma->addWidget(new QLabel(QStringLiteral("Seleccione la forma en la que desea imprimir:")));
    lForma->addWidget(cxGridFormas, 1);

    bPrint = new QPushButton(QStringLiteral("Imprimir"));
    bPrint->setObjectName(QStringLiteral("bPrint"));
    bPrint->setDefault(true);
    bPreview = new QPushButton(QStringLiteral("Vista previa"));
    bPreview->setObjectName(QStringLiteral("bPreview"));
    bCancel = new QPushButton(QStringLiteral("Cancelar"));
    bCancel->setObjectName(QStringLiteral("bCancel"));
    auto *botones = new QHBoxLayout;
    botones->addStretch(1);
    botones->addWidget(bPrint);
    botones->addWidget(bPreview);
    botones->addWidget(bCancel);

    auto *l = new QVBoxLayout(this);
    l->addWidget(pcPaginas, 1);
    l->addLayout(botones);

    connect(vPrinters, &QComboBox::currentIndexChanged, this, &TfImprimirForma::impresoraElegida);
    connect(bPropiedades, &QPushButton::clicked, this, &TfImprimirForma::propiedades);
    connect(vForma, &QLineEdit::textChanged, this, &TfImprimirForma::formaCambiada);
    connect(pcPaginas, &QTabWidget::currentChanged, this, &TfImprimirForma::cambioPestana);
    connect(mForma, &MemTable::currentChanged, this, [this] {
        if (pcPaginas->currentWidget() == tsForma)
            copiaFilaAForma();
    });
    connect(bPrint, &QPushButton::clicked, this, &TfImprimirForma::imprime);
    connect(bPreview, &QPushButton::clicked, this, &TfImprimirForma::previsualiza);
    connect(bCancel, &QPushButton::clicked, this, [this] { done(2); });
}

TfImprimirForma::~TfImprimirForma() = default;

void TfImprimirForma::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (m_mostrado)
        return;
    m_mostrado = true;
    llenaImpresoras();
    llenaFormas();
}

void TfImprimirForma::closeEvent(QCloseEvent *event)
{
    m_reporte.reset();
    QDialog::closeEvent(event);
}

void TfImprimirForma::llenaImpresoras()
{
    vPrinters->clear();
    vPrinters->addItems(QPrinterInfo::availablePrinterNames());
    if (vPrinters->count() > 0) {
        const int i = vPrinters->findText(QPrinterInfo::defaultPrinterName());
        vPrinters->setCurrentIndex(i >= 0 ? i : 0);
    }
    impresoraElegida();
}

void TfImprimirForma::impresoraElegida()
{
    const QString nombre = vPrinters->currentText();
    const DatosImpresora datos = nombre.isEmpty() ? DatosImpresora() : DescribeImpresora(nombre);
    lTipo->setText(datos.controlador);
    lUbicacion->setText(datos.puerto);
    lComentario->setText(datos.comentario);
    lEstado->setText(datos.textoEstado);
    if (m_reporte)
        m_reporte->setImpresora(vPrinters->currentText());
}

void TfImprimirForma::propiedades()
{
    if (vPrinters->currentText().isEmpty())
        return;
    QPrinter printer(QPrinterInfo::printerInfo(vPrinters->currentText()));
    QPageSetupDialog dlg(&printer, this);
    dlg.exec();
}

void TfImprimirForma::llenaFormas()
{
    const QString recordada = FormaRecordada(m_sesion, Carpeta, Subcarpeta);
    mForma->disableControls();
    mForma->emptyTable();
    for (const QString &n : ListaFormas(m_sesion, FolderId)) {
        mForma->append();
        mForma->fieldByName(QStringLiteral("Nombre")).setValue(n);
        mForma->post();
    }
    mForma->enableControls();
    mForma->first();
    bool hallada = false;
    for (int i = 0; i < mForma->recordCount() && !hallada && !recordada.isEmpty(); ++i) {
        mForma->setRecNo(i);
        hallada = mForma->fieldByName(QStringLiteral("Nombre")).asString() == recordada;
    }
    if (hallada) {
        vForma->setText(recordada);
    } else {
        mForma->first();
        vForma->setText(indicacion());
        QPalette p = vForma->palette();
        p.setColor(QPalette::Text, Qt::gray);
        vForma->setPalette(p);
        bPrint->setEnabled(false);
        bPreview->setEnabled(false);
    }
}

void TfImprimirForma::formaCambiada()
{
    if (vForma->text() == indicacion())
        return;
    vForma->setPalette(QPalette());
    bPrint->setEnabled(true);
    bPreview->setEnabled(true);
}

bool TfImprimirForma::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == vForma && event->type() == QEvent::MouseButtonPress
        && vForma->text() == indicacion()) {
        pcPaginas->setCurrentWidget(tsForma);
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void TfImprimirForma::cambioPestana(int indice)
{
    if (pcPaginas->widget(indice) == tsForma && vForma->text() == indicacion())
        copiaFilaAForma();
}

void TfImprimirForma::copiaFilaAForma()
{
    if (mForma->recordCount() > 0)
        vForma->setText(mForma->fieldByName(QStringLiteral("Nombre")).asString());
}

bool TfImprimirForma::cargaPlantilla(const QString &nombre, QString *error)
{
    m_reporte = std::make_unique<reporte::Reporte>();
    if (!CargaPlantilla(m_sesion, *m_reporte, FolderId, nombre, DoctoId, Documento, error))
        return false;
    m_reporte->setImpresora(vPrinters->currentText());
    m_reporte->setDispositivo(reporte::Dispositivo::Impresora);
    return true;
}

bool TfImprimirForma::imprimeUno(int copias)
{
    m_reporte->setDispositivo(vPrintToFile->isChecked() ? reporte::Dispositivo::XLSReport
                                                        : reporte::Dispositivo::Impresora);
    m_reporte->setImpresora(vPrinters->currentText());
    m_reporte->setCopias(copias);
    QString error;
    if (!reporte::imprimeReporte(*m_reporte, &error)) {
        MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
        return false;
    }
    emit impreso(*m_reporte);
    return true;
}

void TfImprimirForma::imprime()
{
    QString error;
    RecuerdaForma(m_sesion, Carpeta, Subcarpeta, vForma->text());
    if (!cargaPlantilla(vForma->text(), &error)) {
        MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
        return;
    }
    if (!imprimeUno(1))
        return;
    if (Copias > 0) {
        if (!cargaPlantilla(LeeRegistro(m_sesion, QStringLiteral("FormaBoleto")), &error)) {
            MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
            return;
        }
        if (!imprimeUno(Copias))
            return;
    }
    done(1);
}

void TfImprimirForma::previsualiza()
{
    RecuerdaForma(m_sesion, Carpeta, Subcarpeta, vForma->text());
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    QString error;
    if (!cargaPlantilla(vForma->text(), &error)) {
        QGuiApplication::restoreOverrideCursor();
        MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
        return;
    }
    int resultado = 0;
    {
        TfPreview preview(this);
        preview.setReporte(m_reporte.get());
        if (!preview.regenera(&error)) {
            QGuiApplication::restoreOverrideCursor();
            MensajeSistema(error, QStringLiteral("Error"), mb::Ok | mb::IconStop);
            return;
        }
        QGuiApplication::restoreOverrideCursor();
        resultado = preview.exec();
    }
    if (resultado == 1)
        done(1);
}

} // namespace lar
