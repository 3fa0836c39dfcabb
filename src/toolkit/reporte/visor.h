#pragma once

#include "documento.h"

#include <QScrollArea>

class QLabel;

namespace lar::reporte {

// The screen renderer: shows one laid-out page at a time at a zoom, with the page
// navigation and the zoom modes of a preview.
class VisorReporte : public QScrollArea
{
    Q_OBJECT

public:
    enum class Zoom { PaginaCompleta, AnchoPagina, Porcentaje };

    explicit VisorReporte(QWidget *parent = nullptr);

    // The document must outlive the viewer or be replaced before it dies.
    void setDocumento(const Documento *doc);
    const Documento *documento() const { return m_doc; }
    int paginas() const;
    int pagina() const { return m_pagina; } // 1-based; 0 without pages
    // The zoom actually shown, in percent (whole page and page width compute it).
    int porcentaje() const;
    Zoom modoZoom() const { return m_modo; }
    // "Página 2 de 5"
    QString estado() const;
    // The picture of the page on screen (for whoever wants to check what is shown).
    QImage imagenActual() const;

public slots:
    void irA(int pagina); // clamped to the document
    void primera() { irA(1); }
    void anterior() { irA(m_pagina - 1); }
    void siguiente() { irA(m_pagina + 1); }
    void ultima() { irA(paginas()); }
    void setZoom(Zoom modo, int porcentaje = 100);

signals:
    void paginaCambiada(int pagina);
    void zoomCambiado(int porcentaje);
    void estadoCambiado(const QString &estado);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    double escala() const; // pixels per millimetre on screen
    void pinta();

    const Documento *m_doc = nullptr;
    QLabel *m_hoja;
    int m_pagina = 0;
    Zoom m_modo = Zoom::Porcentaje;
    int m_porcentaje = 100;
};

} // namespace lar::reporte
