#pragma once

#include "core/mform.h"
#include "toolkit/wordsearch.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <memory>

class QAction;
class QComboBox;
class QFrame;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QToolButton;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;
class TfVentasPuntos;

// The period a list shows, as Microsip's inventory viewer keeps it for each user:
// "tipo;meses;dias;serial ini;serial fin" under <user> / Inventarios / VisorENTRADAS /
// Período of the registry of the configuration database.
struct PeriodoVista
{
    int tipo = 0; // 0 all, 1 last months, 2 range, 3 last days, 4 capture period, 5 today
    int meses = 1;
    int dias = 1;
    QDate ini; // the range of kind 2; invalid: none
    QDate fin;
    QDate capturaIni; // Microsip's capture period
    QDate capturaFin;

    // The dates bound to :fecha1 and :fecha2 (invalid for kind 0).
    QDate fecha1(const QDate &hoy = QDate::currentDate()) const;
    QDate fecha2(const QDate &hoy = QDate::currentDate()) const;
    // The text of vPeriodo; kind 4 without a usable capture period falls back to 0.
    QString texto(const QDate &hoy = QDate::currentDate());
    // The stored form and back; a value of fewer than 3 items leaves the defaults.
    QString valor() const;
    void deValor(const QString &valor, const QDate &hoy = QDate::currentDate());
};

// Dates as Microsip stores them in the period: days since 30/12/1899.
int SerialFecha(const QDate &fecha);
QDate FechaSerial(int serial);

// Reads the capture period and the user's stored period.
PeriodoVista LeePeriodo(Sesion &s);
// Stores the user's period, creating the missing nodes. An empty text on success,
// else "No fue posible guardar el periodo de la vista: " + the engine's text.
QString GuardaPeriodo(Sesion &s, const PeriodoVista &p);

// The tests before the list opens: an empty text, or the message that keeps it shut.
QString PuedeAbrirCanjes(Sesion &s);
// Costing method and inventory concept, before a redemption is created or opened. An
// empty text with metodo set, or the message.
QString ValidaPreferencias(Sesion &s, QChar &metodo);

// The statement of SetDate with its clauses for the period, the status ('C', 'X' or
// empty for all) and the warehouse (0 for all).
QString SqlListaCanjes(bool conFechas, const QString &estatus, bool conAlmacen);

// "Canje de puntos": the redemptions over a period, filtered in memory, from which a
// new one is started or a saved one opened.
class TfVentasPuntosLista : public TMForm
{
    Q_OBJECT

public:
    explicit TfVentasPuntosLista(Sesion &sesion, QWidget *parent = nullptr);
    ~TfVentasPuntosLista() override;

    PeriodoVista Periodo;
    int FiltroTipo = 2;  // 0 returns, 1 redemptions, 2 all
    QChar FiltroEstatus; // 'C' normal, 'X' cancelled, other all

    MemTable &tabla() { return *mVPuntos; }
    // Paints the words of vBusca in the searched column.
    HighlightDelegate &pintor() { return *m_pintor; }
    void SetDate();
    void bNewClick();
    void bOpenClick();
    void bPeriodoClick();
    void aplicaFiltro();
    void setEstatus(QChar estatus);
    void setTipo(int tipo);
    // Moves the grid by distancia rows; the DoctoID found there, 0 at either end.
    int mueve(int distancia);
    // The form opened by bNew or bOpen while it is up (tests answer its dialogs).
    TfVentasPuntos *ventaAbierta() const { return m_venta; }

    MemTable *mVPuntos;
    MemGrid *cxGrid;
    QPushButton *bNew;
    QPushButton *bOpen;
    QPushButton *bPeriodo;
    QLineEdit *vPeriodo;
    QToolButton *bEstatus;
    QAction *mNormales;
    QAction *mCancelados;
    QAction *mTodosEstatus;
    QToolButton *bTipo;
    QAction *bSoloSalidas;
    QAction *bSoloEntradas;
    QAction *bTodos;
    QComboBox *vAlmacen;
    QPushButton *bUpdate;
    QRadioButton *rDestino;
    QRadioButton *rFolio;
    QLineEdit *vBusca;
    QFrame *pAviso;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void FormShow();
    void abre(bool nueva);
    Sesion &m_s;
    bool m_iniciando = true;
    TfVentasPuntos *m_venta = nullptr;
    int campoBusca() const;
    HighlightDelegate *m_pintor;
    WordMatcher m_buscador; // the words of vBusca, ready for the filter
    int m_colNaturaleza = -1, m_colFolio = -1, m_colCliente = -1, m_colCancelado = -1;
};

// Registers the module of tag 73.
void RegistraCanjePuntos();

} // namespace lar
