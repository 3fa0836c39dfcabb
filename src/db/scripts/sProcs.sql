/* Puntos Larvenos: sequences, procedures and triggers of the extension.
   Everything but the first statement and LAR_GET_MOVTOS_VENTA_VEN_VE is
   CREATE OR ALTER, so a newer text replaces the stored one in place. */

SET TERM ^ ;

CREATE SEQUENCE GEN_LAR_REGISTRO^

COMMIT WORK^

/* Stock of an article in a warehouse: actual, committed, available and the cost
   of the actual stock. Executable only. */
CREATE OR ALTER PROCEDURE LAR_CALC_DISP_ARTALM (
  v_articulo_id INTEGER,
  v_almacen_id  INTEGER)
RETURNS (
  exis_actual  NUMERIC(18,5),
  exis_comprom NUMERIC(18,5),
  exis_disp    NUMERIC(18,5),
  exis_costo   NUMERIC(15,2))
AS
BEGIN
  EXECUTE PROCEDURE CALC_EXIS_ARTALM V_ARTICULO_ID, V_ALMACEN_ID, '12-31-9999'
    RETURNING_VALUES :exis_actual, :exis_costo;

  SELECT SUM(unidades_comprom)
  FROM comprom_articulos
  WHERE articulo_id = :v_articulo_id AND almacen_id = :v_almacen_id
  INTO :exis_comprom;
  exis_comprom = COALESCE(exis_comprom, 0);

  exis_disp = exis_actual - exis_comprom;
END^

/* Stock of an article over all warehouses. EXIS_TOTAL adds up the actual stock;
   the other columns are those of the last warehouse read. */
CREATE OR ALTER PROCEDURE LAR_CALC_ARTALM (
  V_ARTICULO_ID INTEGER,
  V_ALMACEN_ID  INTEGER)
RETURNS (
  EXIS_ACTUAL  NUMERIC(18,5),
  EXIS_COMPROM NUMERIC(18,5),
  EXIS_DISP    NUMERIC(18,5),
  EXIS_COSTO   NUMERIC(15,2),
  EXIS_TOTAL   NUMERIC(15,2))
AS
DECLARE VARIABLE alm_id INTEGER;
BEGIN
  EXIS_TOTAL = 0;
  FOR SELECT almacen_id FROM almacenes ORDER BY almacen_id INTO :alm_id DO
  BEGIN
    EXECUTE PROCEDURE CALC_EXIS_ARTALM V_ARTICULO_ID, alm_id, '12-31-9999'
      RETURNING_VALUES :EXIS_ACTUAL, :EXIS_COSTO;

    SELECT SUM(unidades_comprom)
    FROM comprom_articulos
    WHERE articulo_id = :V_ARTICULO_ID AND almacen_id = :alm_id
    INTO :EXIS_COMPROM;
    EXIS_COMPROM = COALESCE(EXIS_COMPROM, 0);

    EXIS_DISP = EXIS_ACTUAL - EXIS_COMPROM;
    EXIS_TOTAL = EXIS_TOTAL + COALESCE(EXIS_ACTUAL, 0);
  END
  SUSPEND;
END^

/* LAR_CALC_DISP_ARTALM as a selectable procedure */
CREATE OR ALTER PROCEDURE LAR_CALC_ARTALM1 (
  V_ARTICULO_ID INTEGER,
  V_ALMACEN_ID  INTEGER)
RETURNS (
  EXIS_ACTUAL  NUMERIC(18,5),
  EXIS_COMPROM NUMERIC(18,5),
  EXIS_DISP    NUMERIC(18,5),
  EXIS_COSTO   NUMERIC(18,5))
AS
BEGIN
  EXECUTE PROCEDURE CALC_EXIS_ARTALM V_ARTICULO_ID, V_ALMACEN_ID, '12-31-9999'
    RETURNING_VALUES :EXIS_ACTUAL, :EXIS_COSTO;

  SELECT SUM(unidades_comprom)
  FROM comprom_articulos
  WHERE articulo_id = :V_ARTICULO_ID AND almacen_id = :V_ALMACEN_ID
  INTO :EXIS_COMPROM;
  EXIS_COMPROM = COALESCE(EXIS_COMPROM, 0);

  EXIS_DISP = EXIS_ACTUAL - EXIS_COMPROM;
  SUSPEND;
END^

/* Stock of an article in a warehouse at a date, in units and cost: entries less
   exits from 1 January 2000 */
CREATE OR ALTER PROCEDURE LAR_EXISTARTS (
  ARTICULO_ID INTEGER,
  ALMACEN_ID  INTEGER,
  FECHA_INI   DATE)
RETURNS (
  EXISTENCIA NUMERIC(18,5),
  EXISCOSTO  NUMERIC(18,5))
AS
DECLARE VARIABLE entradas_unid  NUMERIC(18,5);
DECLARE VARIABLE salidas_unid   NUMERIC(18,5);
DECLARE VARIABLE entradas_costo NUMERIC(18,5);
DECLARE VARIABLE salidas_costo  NUMERIC(18,5);
BEGIN
  execute procedure calc_acums_artalm :articulo_id, :almacen_id, '01-01-2000', (:fecha_ini)
    RETURNING_VALUES :entradas_unid, :salidas_unid, :entradas_costo, :salidas_costo;

  EXISTENCIA = COALESCE(entradas_unid, 0) - COALESCE(salidas_unid, 0);
  EXISCOSTO = COALESCE(entradas_costo, 0) - COALESCE(salidas_costo, 0);
  SUSPEND;
END^

/* Stock at a date of a set of articles: SQLVTA returns one integer column of
   article ids; the result is their total in units and cost. */
CREATE OR ALTER PROCEDURE LAR_EXIS_TOTAVTA (
  SQLVTA    VARCHAR(1024),
  ALMACEN   INTEGER,
  FECHA_INI DATE)
RETURNS (
  EXISTENCIA NUMERIC(18,5),
  EXISCOSTO  NUMERIC(18,5))
AS
DECLARE VARIABLE articulo_id    INTEGER;
DECLARE VARIABLE entradas_unid  NUMERIC(18,5);
DECLARE VARIABLE salidas_unid   NUMERIC(18,5);
DECLARE VARIABLE entradas_costo NUMERIC(18,5);
DECLARE VARIABLE salidas_costo  NUMERIC(18,5);
BEGIN
  EXISTENCIA = 0;
  EXISCOSTO = 0;
  FOR EXECUTE STATEMENT :SQLVTA INTO :articulo_id DO
  BEGIN
    execute procedure calc_acums_artalm :articulo_id, :almacen, '01-01-2000', (:fecha_ini)
      RETURNING_VALUES :entradas_unid, :salidas_unid, :entradas_costo, :salidas_costo;

    EXISTENCIA = EXISTENCIA + COALESCE(entradas_unid, 0) - COALESCE(salidas_unid, 0);
    EXISCOSTO = EXISCOSTO + COALESCE(entradas_costo, 0) - COALESCE(salidas_costo, 0);
  END
  SUSPEND;
END^

/* Sales documents of the sellers in a period, each with the credit notes of a
   receivables concept applied to it. Invoices always; with V_TIPO_VENTA 'N' also
   returns, with a negative amount. V_FECHA_INI2, V_FECHA_FIN2 and V_INCL_PV are
   not used. */
CREATE PROCEDURE LAR_GET_MOVTOS_VENTA_VEN_VE (
  V_FECHA_INI1   DATE,
  V_FECHA_FIN1   DATE,
  V_FECHA_INI2   DATE,
  V_FECHA_FIN2   DATE,
  V_TIPO_VENTA   CHAR(1),
  V_INCL_PV      CHAR(1),
  CONCEPTO_CC_ID INTEGER)
RETURNS (
  NOMBRE        VARCHAR(50),
  VENDEDOR_ID   INTEGER,
  FECHA         DATE,
  VENTA_IMPORTE NUMERIC(15,2),
  NOTA_IMPORTE  NUMERIC(15,2),
  DOCTO_VE_ID   INTEGER)
AS
DECLARE VARIABLE tipo_docto CHAR(1);
BEGIN
  FOR SELECT d.docto_ve_id, d.vendedor_id, v.nombre, d.fecha, d.tipo_docto,
             d.tipo_cambio * d.importe_neto
      FROM doctos_ve d
      JOIN vendedores v ON v.vendedor_id = d.vendedor_id
      WHERE d.fecha BETWEEN :V_FECHA_INI1 AND :V_FECHA_FIN1
        AND d.estatus <> 'C'
        AND (d.tipo_docto = 'F' OR (d.tipo_docto = 'D' AND :V_TIPO_VENTA = 'N'))
      INTO :DOCTO_VE_ID, :VENDEDOR_ID, :NOMBRE, :FECHA, :tipo_docto, :VENTA_IMPORTE
  DO
  BEGIN
    IF (tipo_docto = 'D') THEN
      VENTA_IMPORTE = -VENTA_IMPORTE;

    NOTA_IMPORTE = NULL;
    SELECT SUM(i.importe) + SUM(i.impuesto)
    FROM doctos_entre_sis e
    JOIN importes_doctos_cc i ON i.docto_cc_acr_id = e.docto_dest_id
    JOIN doctos_cc c ON c.docto_cc_id = i.docto_cc_id
    WHERE e.docto_fte_id = :DOCTO_VE_ID
      AND e.clave_sis_fte = 'VE'
      AND e.clave_sis_dest = 'CC'
      AND e.tipo_docto = 'C'
      AND c.cancelado = 'N'
      AND c.concepto_cc_id = :CONCEPTO_CC_ID
    INTO :NOTA_IMPORTE;
    NOTA_IMPORTE = COALESCE(NOTA_IMPORTE, 0);

    SUSPEND;
  END
END^

/* Key makers. The program inserts -1 (or nothing); the sequence decides. */
CREATE OR ALTER TRIGGER TR_LAR_REGISTRO FOR LAR_REGISTRO
ACTIVE BEFORE INSERT POSITION 0
AS
BEGIN
  NEW.REGISTRO_ID = GEN_ID(GEN_LAR_REGISTRO, 1);
END^

CREATE OR ALTER TRIGGER TR_LAR_REINICIO_PUNTOS FOR LAR_REINICIO_PUNTOS
ACTIVE BEFORE INSERT POSITION 0
AS
BEGIN
  NEW.ID_REINICIO_PUNTOS = GEN_ID(GEN_LAR_REGISTRO, 1);
END^

CREATE OR ALTER TRIGGER TR_LAR_AVISO_REINICIO FOR LAR_AVISO_REINICIO
ACTIVE BEFORE INSERT POSITION 0
AS
BEGIN
  NEW.ID_REINICIO = GEN_ID(GEN_LAR_REGISTRO, 1);
END^

/* Only where LAR_FACART exists; elsewhere these fail and are skipped. */
CREATE OR ALTER TRIGGER LAR_FACART_ELIMINA_DET FOR LAR_FACART
ACTIVE BEFORE DELETE POSITION 0
AS
BEGIN
  DELETE FROM LAR_FACART_DET WHERE LAR_FACART_ID = OLD.LAR_FACART_ID;
END^

CREATE OR ALTER TRIGGER LAR_FACART_ELIMINA_DET FOR LAR_FACART
ACTIVE BEFORE DELETE POSITION 0
AS
BEGIN
  DELETE FROM LAR_FACART_DET WHERE LAR_FACART_ID = OLD.LAR_FACART_ID;
END^

COMMIT WORK^

SET TERM ; ^

/* Who holds a customer lock, and since when */
ALTER TABLE LAR_DATOSCLTE ADD FECHA TIMESTAMP,ADD USUARIO VARCHAR(50) CHARACTER SET NONE;

COMMIT WORK;

-- Accrual triggers
