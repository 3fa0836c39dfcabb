#pragma once

#include "rep_porcliente_datos.h"

#include "core/mform.h"
#include "toolkit/wordsearch.h"

#include <memory>

class QLineEdit;
class QPushButton;
class QRadioButton;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

// "Busqueda por cliente": the active customers with their main address, searched
// by words in the city, the colonia or the name.
class Tfrep_PorBusqueda : public TMForm
{
    Q_OBJECT

public:
    explicit Tfrep_PorBusqueda(Sesion &sesion, QWidget *parent = nullptr);
    ~Tfrep_PorBusqueda() override;

    // Fields of mBusqueda.
    enum Campo { fNombre, fDireccion, fCiudad, fEstado, fTelefono, fColonia };

    int FolderId = 0;
    QStringList Palabras;
    int CampoBusca = fNombre;

    MemTable &tabla() { return *mBusqueda; }
    HighlightDelegate &pintor() { return *m_pintor; }

    void Button1Click(); // the load, for BitBtn1 and Button1
    void vBuscaChange();
    void btnExportarClick();

    QPushButton *BitBtn1;
    QPushButton *Button1;
    QPushButton *btnExportar;
    QRadioButton *rCiudad;
    QRadioButton *rColonia;
    QRadioButton *rNombre;
    QLineEdit *vBusca;
    MemGrid *cxGrid1;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *o, QEvent *ev) override;

private:
    void eligeBusqueda(int campo, const QString &indice);

    Sesion &m_s;
    DatosReportes m_datos;
    std::unique_ptr<MemTable> mBusqueda;
    HighlightDelegate *m_pintor;
    WordMatcher m_buscador;
    bool m_mostrada = false;
};

// Registers tag 78 with the main window's dispatch.
void RegistraRepPorBusqueda();

} // namespace lar
