#pragma once

#include "cursor.h"
#include "documento.h"
#include "plantilla.h"

#include <QString>
#include <QVariantHash>

#include <functional>
#include <map>
#include <memory>

namespace fb {
class Database;
}

namespace lar::reporte {

// Where a printed report goes: the file device PDF (the default), a system printer,
// or a spreadsheet of its cells.
enum class Dispositivo { Pdf, Impresora, XLSReport };

// One report: a template, its data and its output settings. Generating runs the
// template's queries (on the given database, in a read transaction of its own),
// its scripts, and lays the bands out into pages of primitives, which the
// renderers draw.
//
// Scripts are JavaScript. Besides the registered functions (FuncionesScript) they
// see Campo("CAMPO") or Campo("VISTA.CAMPO"), Parametro("NOMBRE"),
// FormatoCampo("CAMPO", "dd/MM/yyyy") (a field as a data element would show it),
// FormatoNumero(1234.5, "#,0.00") and Reporte.pagina. The report's alIniciar
// function runs once before the layout; a band's alImprimir gets {nombre, visible,
// alto} and an element's {nombre, texto, visible, imagen} (imagen: a file, base64
// PNG data or a QImage a registered function returned), and what they change is
// what gets placed.
class Reporte
{
public:
    Reporte();
    ~Reporte();
    Reporte(const Reporte &) = delete;
    Reporte &operator=(const Reporte &) = delete;

    // An empty report has the default page setup and no bands.
    Plantilla &plantilla() { return m_plantilla; }
    const Plantilla &plantilla() const { return m_plantilla; }
    bool cargaTexto(const QByteArray &texto, QString *error = nullptr);

    void setBaseDatos(fb::Database *db) { m_db = db; }
    // Values of the parameters left in the SQL texts, bound by name.
    void setParametro(const QString &nombre, const QVariant &valor);
    // The rows of a view come from this cursor instead of its SQL.
    void setCursor(const QString &vista, std::unique_ptr<Cursor> cursor);

    QString nombreDocumento() const { return m_nombreDocumento; }
    void setNombreDocumento(const QString &n) { m_nombreDocumento = n; }
    Dispositivo dispositivo() const { return m_dispositivo; }
    void setDispositivo(Dispositivo d) { m_dispositivo = d; }
    QString impresora() const { return m_impresora; }
    void setImpresora(const QString &nombre) { m_impresora = nombre; }
    int copias() const { return m_copias; }
    void setCopias(int n) { m_copias = n; }
    // The output file of the PDF and XLSReport devices.
    QString archivo() const { return m_archivo; }
    void setArchivo(const QString &ruta) { m_archivo = ruta; }

    // Called by the printer between pages with the page about to go; false cancels
    // the job.
    using Avance = std::function<bool(int pagina)>;
    void setAvance(Avance avance) { m_avance = std::move(avance); }
    const Avance &avance() const { return m_avance; }

    // Lays the report out again; false with the Spanish error of the data layer,
    // the script or the template.
    bool genera(QString *error = nullptr);
    const Documento &documento() const { return m_documento; }

private:
    friend class Maquetador;
    Plantilla m_plantilla;
    fb::Database *m_db = nullptr;
    QVariantHash m_parametros;
    std::map<QString, std::unique_ptr<Cursor>> m_cursores; // by upper-case view name
    QString m_nombreDocumento;
    Dispositivo m_dispositivo = Dispositivo::Pdf;
    QString m_impresora;
    int m_copias = 1;
    QString m_archivo;
    Avance m_avance;
    Documento m_documento;
};

} // namespace lar::reporte
