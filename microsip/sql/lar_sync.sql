/*
  Replication queue of an outside synchroniser, on top of empresa.sql.
  Puntos Larvenos only feeds it, from a trigger on its ledger:
    insert into lar_sync_id (tabla_id, id, d_nombre1, d_tipo, lar_origen)
  Run it after empresa.sql on companies that should have the queue.
  SYNC_ID and FECHA_HORA belong to the queue itself and fill themselves.
*/

CREATE SEQUENCE LAR_SYNC_ID_SEQ;

COMMIT WORK;

CREATE TABLE LAR_SYNC_ID (
    SYNC_ID     INTEGER NOT NULL,
    TABLA_ID    INTEGER NOT NULL,      /* number of the source table */
    ID          INTEGER NOT NULL,      /* row of the source table */
    D_NOMBRE1   VARCHAR(100),          /* a text of the row, e.g. a folio */
    D_TIPO      CHAR(1),               /* kind of change: 'U' */
    LAR_ORIGEN  VARCHAR(255),          /* USER_SESSION variable lar_origen */
    FECHA_HORA  TIMESTAMP DEFAULT CURRENT_TIMESTAMP,
    CONSTRAINT PK_LAR_SYNC_ID PRIMARY KEY (SYNC_ID)
);
CREATE INDEX LAR_SYNC_ID_TABLA ON LAR_SYNC_ID (TABLA_ID, ID);

COMMIT WORK;

SET TERM ^ ;

CREATE TRIGGER LAR_SYNC_ID_BI FOR LAR_SYNC_ID
ACTIVE BEFORE INSERT POSITION 0
AS
BEGIN
  IF (NEW.SYNC_ID IS NULL OR NEW.SYNC_ID = -1) THEN
    NEW.SYNC_ID = GEN_ID(LAR_SYNC_ID_SEQ, 1);
END^

SET TERM ; ^

COMMIT WORK;

GRANT ALL ON LAR_SYNC_ID TO ROLE USUARIO_MICROSIP;
GRANT USAGE ON SEQUENCE LAR_SYNC_ID_SEQ TO ROLE USUARIO_MICROSIP;

COMMIT WORK;
