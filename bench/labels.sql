-- The labels of the files that write_document makes: 2,000 of them, in one language.
CREATE TABLE Languages (LanguageCode INTEGER PRIMARY KEY, LanguageName TEXT NOT NULL UNIQUE);
CREATE TABLE Labels (LabelID INTEGER, Label TEXT, LanguageCode INTEGER);
CREATE TABLE KCI_GUIDs (GUID TEXT PRIMARY KEY);
INSERT INTO KCI_GUIDs VALUES ('{bench}');
INSERT INTO Languages VALUES (1, 'English');
WITH RECURSIVE ids (id) AS (SELECT 1 UNION ALL SELECT id + 1 FROM ids WHERE id < 2000)
INSERT INTO Labels SELECT id, 'The customer''s revenue ' || id, 1 FROM ids;
