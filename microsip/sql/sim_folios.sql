/*
  The stand-in's own folio counters of the sale documents, on top of
  empresa.sql: one row per system and series (Microsip keeps its counters where
  we can't see). Whoever takes a folio locks the row, so two stations never get
  the same one. CONSECUTIVO is the last number handed out. microsip-sim creates
  the table in a company that lacks it.
*/

CREATE TABLE SIM_FOLIOS (
    SISTEMA      CHAR(2) NOT NULL,
    SERIE        VARCHAR(9) NOT NULL,
    CONSECUTIVO  BIGINT NOT NULL,
    CONSTRAINT PK_SIM_FOLIOS PRIMARY KEY (SISTEMA, SERIE)
);

GRANT ALL ON SIM_FOLIOS TO ROLE USUARIO_MICROSIP;
COMMIT WORK;
