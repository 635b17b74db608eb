-- The tables behind large.kcd.
CREATE TABLE item (item_id INTEGER PRIMARY KEY, item_name VARCHAR(40) NOT NULL, group_name VARCHAR(20) NOT NULL);
CREATE TABLE kind (kind_id INTEGER PRIMARY KEY, kind_name VARCHAR(40) NOT NULL);
CREATE TABLE fact (item_id INTEGER NOT NULL, kind_id INTEGER NOT NULL, amount INTEGER NOT NULL);

INSERT INTO item
  SELECT i, 'Item ' || to_char(i, 'FM000000'), 'Group ' || to_char(i % 1000, 'FM0000') FROM generate_series(1, 100000) i;
INSERT INTO kind SELECT i, 'Kind ' || to_char(i, 'FM00') FROM generate_series(1, 49) i;
INSERT INTO kind VALUES (50, '=]<b>"Kind''s"</b>');
INSERT INTO fact SELECT i, 1 + (i / 1000) % 50, 1 + (i * 7919) % 1000 FROM generate_series(1, 100000) i;
ANALYZE;
