-- The labels database behind examples/sales.kci: every text of the file in four languages.
-- scripts/make-labels-database turns this into a SQLite file. A server of your own needs the same
-- three tables; other columns and tables do no harm.

-- One row a language. People choose by LanguageName.
CREATE TABLE Languages (
  LanguageCode INTEGER PRIMARY KEY,
  LanguageName TEXT NOT NULL UNIQUE
);

-- One row a label and language. An ID lies between -32768 and 32767; in a file it is written
-- $##ID%. A label that is missing or blank arrives there as the word Unknown and its ID.
CREATE TABLE Labels (
  LabelID      INTEGER NOT NULL CHECK (LabelID BETWEEN -32768 AND 32767),
  Label        TEXT NOT NULL,
  LanguageCode INTEGER NOT NULL REFERENCES Languages,
  PRIMARY KEY (LanguageCode, LabelID)
);

-- The files that may be converted with these labels: the attribute guid of their root element,
-- letter case included.
CREATE TABLE KCI_GUIDs (
  GUID        TEXT PRIMARY KEY,
  Description TEXT
);

INSERT INTO KCI_GUIDs VALUES
  ('{0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314}', 'sales.kci'),
  ('{B6A91F08-27CE-4D13-A5E4-3F80D6C21B97}', 'the personnel department''s files');

INSERT INTO Languages VALUES
  (1, 'English'),
  (2, 'Français'),
  (3, 'Deutsch'),
  (4, 'Nederlands'),
  (5, 'Español');  -- no labels yet, so nobody is offered it

-- In SQL an apostrophe is doubled; labels hold characters as people write them, and nothing in
-- them needs escaping for XML.
INSERT INTO Labels (LanguageCode, LabelID, Label) VALUES
  (1, -3, 'The shops'' sales, every night'),
  (1, -2, 'Sees everything: sales & cost, "all" <regions>'),
  (1, -1, 'The warehouse''s reader'),
  (1,  1, 'Sales'),
  (1, 10, 'Calendar'),
  (1, 11, 'Year'),
  (1, 12, 'Quarter'),
  (1, 13, 'Month'),
  (1, 14, 'Days up to years'),
  (1, 20, 'Product'),
  (1, 21, 'All products'),
  (1, 22, 'Department'),
  (1, 23, 'Group'),
  (1, 24, 'Article'),
  (1, 25, 'Maker'),
  (1, 26, 'The maker''s name'),
  (1, 30, 'Store'),
  (1, 31, 'All stores'),
  (1, 32, 'Country'),
  (1, 33, 'Region'),
  (1, 40, 'Revenue'),
  (1, 41, 'Every line of every receipt'),
  (1, 50, 'Amount'),
  (1, 51, 'Cost'),
  (1, 52, 'Quantity'),
  (1, 53, 'Customer''s discount'),
  (1, 54, 'What the customer paid'),
  (1, 55, 'Margin'),
  (1, 56, 'Pieces, metres or litres'),
  (1, 57, 'Less than the list price (< 100 %)'),
  (1, 60, 'Head office');

INSERT INTO Labels (LanguageCode, LabelID, Label) VALUES
  (2, -3, 'Les ventes des magasins, chaque nuit jusqu''à l''aube'),
  (2, -2, 'Voit tout : ventes & coûts, « toutes » les <régions>'),
  (2, -1, 'Le lecteur de l''entrepôt'),
  (2,  1, 'Ventes'),
  (2, 10, 'Calendrier'),
  (2, 11, 'Année'),
  (2, 12, 'Trimestre'),
  (2, 13, 'Mois'),
  (2, 14, 'Des jours jusqu''aux années'),
  (2, 20, 'Produit'),
  (2, 21, 'Tous les produits'),
  (2, 22, 'Rayon'),
  (2, 23, 'Groupe'),
  (2, 24, 'Article'),
  (2, 25, 'Fabricant'),
  (2, 26, 'Le nom du fabricant'),
  (2, 30, 'Magasin'),
  (2, 31, 'Tous les magasins'),
  (2, 32, 'Pays'),
  (2, 33, 'Région'),
  (2, 40, 'Chiffre d''affaires'),
  (2, 41, 'Chaque ligne de chaque ticket'),
  (2, 50, 'Montant'),
  (2, 51, 'Coût'),
  (2, 52, 'Quantité'),
  (2, 53, 'Remise à l''achat'),
  (2, 54, 'Ce qu''a payé le client'),
  (2, 55, 'Marge'),
  (2, 56, '   '),  -- blank: not translated yet
  (2, 57, 'Au-dessous du prix affiché (< 100 %)'),
  (2, 60, 'Siège');

INSERT INTO Labels (LanguageCode, LabelID, Label) VALUES
  (3, -3, 'Die Verkäufe der Läden, jede Nacht'),
  (3, -2, 'Sieht alles: Verkäufe & Kosten, „alle“ <Regionen>'),
  (3, -1, 'Liest das Lager aus'),
  (3,  1, 'Verkäufe'),
  (3, 10, 'Kalender'),
  (3, 11, 'Jahr'),
  (3, 12, 'Quartal'),
  (3, 13, 'Monat'),
  (3, 14, 'Von Tagen bis zu Jahren'),
  (3, 20, 'Produkt'),
  (3, 21, 'Alle Produkte'),
  (3, 22, 'Abteilung'),
  (3, 23, 'Gruppe'),
  (3, 24, 'Artikel'),
  (3, 25, 'Hersteller'),
  (3, 26, 'So heißt der Hersteller'),
  (3, 30, 'Laden'),
  (3, 31, 'Alle Läden'),
  (3, 32, 'Land'),
  (3, 33, 'Region'),
  (3, 40, 'Umsatz'),
  (3, 41, 'Jede Zeile von jedem Kassenzettel'),
  (3, 50, 'Betrag'),
  (3, 51, 'Kosten'),
  (3, 52, 'Menge'),
  (3, 53, 'Rabatt'),
  (3, 54, 'Was der Kunde gezahlt hat – wie geht''s besser?'),
  (3, 55, 'Spanne'),
  (3, 56, 'Stück, Meter oder Liter'),
  -- 57 is not there yet
  (3, 60, 'Hauptsitz');

INSERT INTO Labels (LanguageCode, LabelID, Label) VALUES
  (4, -3, 'De verkopen van de winkels, ''s nachts bijgewerkt'),
  (4, -2, 'Ziet alles: verkopen & kosten, "alle" <regio''s>'),
  (4, -1, 'Leest het magazijn uit'),
  (4,  1, 'Verkopen'),
  (4, 10, 'Kalender'),
  (4, 11, 'Jaar'),
  (4, 12, 'Kwartaal'),
  (4, 13, 'Maand'),
  (4, 14, 'Van dagen tot jaren'),
  (4, 20, 'Product'),
  (4, 21, 'Alle producten'),
  (4, 22, 'Afdeling'),
  (4, 23, 'Groep'),
  (4, 24, 'Artikel'),
  (4, 25, 'Fabrikant'),
  (4, 26, 'De naam van de fabrikant'),
  (4, 30, 'Winkel'),
  (4, 31, 'Alle winkels'),
  (4, 32, 'Land'),
  (4, 33, 'Regio''s'),
  (4, 40, 'Omzet'),
  (4, 41, 'Iedere regel van iedere kassabon'),
  (4, 50, 'Bedrag'),
  (4, 51, 'Kosten'),
  (4, 52, 'Hoeveelheid'),
  (4, 53, 'Korting'),
  (4, 54, 'Wat de klant betaald heeft: één keer'),
  (4, 55, 'Marge'),
  (4, 56, 'Stuks, meters of liters'),
  (4, 57, 'Onder de catalogusprijs (< 100 %)'),
  (4, 60, 'Hoofdkantoor');
