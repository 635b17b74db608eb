-- The two warehouses behind sales.kcd, with a few rows each. PostgreSQL and MariaDB take them as
-- they stand; `make demo-olap` loads them and asks the cubes about them.
--
--   psql --dbname=warehouse --file=sales-warehouse.sql
--   mariadb --default-character-set=utf8mb4 warehouse < sales-warehouse.sql

CREATE TABLE calendar (
  day_id INTEGER PRIMARY KEY,
  the_date DATE NOT NULL,
  year INTEGER NOT NULL,
  quarter CHAR(2) NOT NULL,
  month INTEGER NOT NULL,
  week INTEGER NOT NULL
);

CREATE TABLE product_group (
  product_group_id INTEGER PRIMARY KEY,
  group_name VARCHAR(40) NOT NULL,
  department VARCHAR(40) NOT NULL
);

CREATE TABLE product (
  product_id INTEGER PRIMARY KEY,
  product_name VARCHAR(60) NOT NULL,
  brand VARCHAR(40) NOT NULL,
  weight INTEGER NOT NULL,
  product_group_id INTEGER NOT NULL REFERENCES product_group (product_group_id)
);

CREATE TABLE region (
  region_id INTEGER PRIMARY KEY,
  region_name VARCHAR(40) NOT NULL,
  country VARCHAR(40) NOT NULL
);

CREATE TABLE store (
  store_id INTEGER PRIMARY KEY,
  store_name VARCHAR(40) NOT NULL,
  manager VARCHAR(40) NOT NULL,
  floor_area INTEGER NOT NULL,
  region_id INTEGER NOT NULL REFERENCES region (region_id)
);

CREATE TABLE customer (
  customer_id INTEGER PRIMARY KEY,
  customer_name VARCHAR(40) NOT NULL,
  city VARCHAR(60) NOT NULL,
  country VARCHAR(40) NOT NULL,
  loyalty_card VARCHAR(10) NOT NULL,
  household_size INTEGER NOT NULL
);

CREATE TABLE promotion (
  promotion_id INTEGER PRIMARY KEY,
  promotion_name VARCHAR(40) NOT NULL,
  medium VARCHAR(30) NOT NULL
);

CREATE TABLE warehouse (
  warehouse_id INTEGER PRIMARY KEY,
  warehouse_name VARCHAR(40) NOT NULL,
  country VARCHAR(40) NOT NULL
);

CREATE TABLE supplier (
  supplier_id INTEGER PRIMARY KEY,
  supplier_name VARCHAR(40) NOT NULL
);

CREATE TABLE sales (
  sale_id INTEGER PRIMARY KEY,
  day_id INTEGER NOT NULL REFERENCES calendar (day_id),
  store_id INTEGER NOT NULL REFERENCES store (store_id),
  product_id INTEGER NOT NULL REFERENCES product (product_id),
  customer_id INTEGER NOT NULL REFERENCES customer (customer_id),
  promotion_id INTEGER NOT NULL REFERENCES promotion (promotion_id),
  payment_method VARCHAR(20) NOT NULL,
  quantity INTEGER NOT NULL,
  list_amount DECIMAL(10, 2) NOT NULL,
  amount DECIMAL(10, 2) NOT NULL,
  cost DECIMAL(10, 2) NOT NULL
);

CREATE TABLE sales_2025 (
  sale_id INTEGER PRIMARY KEY,
  day_id INTEGER NOT NULL REFERENCES calendar (day_id),
  store_id INTEGER NOT NULL REFERENCES store (store_id),
  product_id INTEGER NOT NULL REFERENCES product (product_id),
  customer_id INTEGER NOT NULL REFERENCES customer (customer_id),
  promotion_id INTEGER NOT NULL REFERENCES promotion (promotion_id),
  payment_method VARCHAR(20) NOT NULL,
  quantity INTEGER NOT NULL,
  list_amount DECIMAL(10, 2) NOT NULL,
  amount DECIMAL(10, 2) NOT NULL,
  cost DECIMAL(10, 2) NOT NULL
);

CREATE TABLE stock (
  stock_id INTEGER PRIMARY KEY,
  day_id INTEGER NOT NULL REFERENCES calendar (day_id),
  product_id INTEGER NOT NULL REFERENCES product (product_id),
  warehouse_id INTEGER NOT NULL REFERENCES warehouse (warehouse_id),
  supplier_id INTEGER NOT NULL REFERENCES supplier (supplier_id),
  stock_status VARCHAR(12) NOT NULL,
  units_on_hand INTEGER NOT NULL,
  units_ordered INTEGER NOT NULL,
  stock_value DECIMAL(10, 2) NOT NULL
);

CREATE TABLE department (
  department_id INTEGER PRIMARY KEY,
  department_name VARCHAR(40) NOT NULL
);

CREATE TABLE employee (
  employee_id INTEGER PRIMARY KEY,
  employee_name VARCHAR(40) NOT NULL,
  job_title VARCHAR(40) NOT NULL,
  department_id INTEGER NOT NULL REFERENCES department (department_id)
);

CREATE TABLE pay_period (
  pay_period_id INTEGER PRIMARY KEY,
  year INTEGER NOT NULL,
  month INTEGER NOT NULL
);

CREATE TABLE payroll (
  payroll_id INTEGER PRIMARY KEY,
  employee_id INTEGER NOT NULL REFERENCES employee (employee_id),
  pay_period_id INTEGER NOT NULL REFERENCES pay_period (pay_period_id),
  hours DECIMAL(6, 1) NOT NULL,
  gross_pay DECIMAL(10, 2) NOT NULL,
  overtime_pay DECIMAL(10, 2) NOT NULL
);

INSERT INTO calendar (day_id, the_date, year, quarter, month, week) VALUES
  (250107, '2025-01-07', 2025, 'Q1', 1, 2), (250116, '2025-01-16', 2025, 'Q1', 1, 3),
  (250128, '2025-01-28', 2025, 'Q1', 1, 5), (250207, '2025-02-07', 2025, 'Q1', 2, 6),
  (250216, '2025-02-16', 2025, 'Q1', 2, 7), (250228, '2025-02-28', 2025, 'Q1', 2, 9),
  (250307, '2025-03-07', 2025, 'Q1', 3, 10), (250316, '2025-03-16', 2025, 'Q1', 3, 11),
  (250328, '2025-03-28', 2025, 'Q1', 3, 13), (250407, '2025-04-07', 2025, 'Q2', 4, 15),
  (250416, '2025-04-16', 2025, 'Q2', 4, 16), (250428, '2025-04-28', 2025, 'Q2', 4, 18),
  (250507, '2025-05-07', 2025, 'Q2', 5, 19), (250516, '2025-05-16', 2025, 'Q2', 5, 20),
  (250528, '2025-05-28', 2025, 'Q2', 5, 22), (250607, '2025-06-07', 2025, 'Q2', 6, 23),
  (250616, '2025-06-16', 2025, 'Q2', 6, 25), (250628, '2025-06-28', 2025, 'Q2', 6, 26),
  (250707, '2025-07-07', 2025, 'Q3', 7, 28), (250716, '2025-07-16', 2025, 'Q3', 7, 29),
  (250728, '2025-07-28', 2025, 'Q3', 7, 31), (250807, '2025-08-07', 2025, 'Q3', 8, 32),
  (250816, '2025-08-16', 2025, 'Q3', 8, 33), (250828, '2025-08-28', 2025, 'Q3', 8, 35),
  (250907, '2025-09-07', 2025, 'Q3', 9, 36), (250916, '2025-09-16', 2025, 'Q3', 9, 38),
  (250928, '2025-09-28', 2025, 'Q3', 9, 39), (251007, '2025-10-07', 2025, 'Q4', 10, 41),
  (251016, '2025-10-16', 2025, 'Q4', 10, 42), (251028, '2025-10-28', 2025, 'Q4', 10, 44),
  (251107, '2025-11-07', 2025, 'Q4', 11, 45), (251116, '2025-11-16', 2025, 'Q4', 11, 46),
  (251128, '2025-11-28', 2025, 'Q4', 11, 48), (251207, '2025-12-07', 2025, 'Q4', 12, 49),
  (251216, '2025-12-16', 2025, 'Q4', 12, 51), (251228, '2025-12-28', 2025, 'Q4', 12, 52),
  (260107, '2026-01-07', 2026, 'Q1', 1, 2), (260116, '2026-01-16', 2026, 'Q1', 1, 3),
  (260128, '2026-01-28', 2026, 'Q1', 1, 5), (260207, '2026-02-07', 2026, 'Q1', 2, 6),
  (260216, '2026-02-16', 2026, 'Q1', 2, 8), (260228, '2026-02-28', 2026, 'Q1', 2, 9),
  (260307, '2026-03-07', 2026, 'Q1', 3, 10), (260316, '2026-03-16', 2026, 'Q1', 3, 12),
  (260328, '2026-03-28', 2026, 'Q1', 3, 13), (260407, '2026-04-07', 2026, 'Q2', 4, 15),
  (260416, '2026-04-16', 2026, 'Q2', 4, 16), (260428, '2026-04-28', 2026, 'Q2', 4, 18),
  (260507, '2026-05-07', 2026, 'Q2', 5, 19), (260516, '2026-05-16', 2026, 'Q2', 5, 20),
  (260528, '2026-05-28', 2026, 'Q2', 5, 22), (260607, '2026-06-07', 2026, 'Q2', 6, 23),
  (260616, '2026-06-16', 2026, 'Q2', 6, 25), (260628, '2026-06-28', 2026, 'Q2', 6, 26),
  (260707, '2026-07-07', 2026, 'Q3', 7, 28), (260716, '2026-07-16', 2026, 'Q3', 7, 29),
  (260728, '2026-07-28', 2026, 'Q3', 7, 31), (260807, '2026-08-07', 2026, 'Q3', 8, 32),
  (260816, '2026-08-16', 2026, 'Q3', 8, 33), (260828, '2026-08-28', 2026, 'Q3', 8, 35),
  (260907, '2026-09-07', 2026, 'Q3', 9, 37), (260916, '2026-09-16', 2026, 'Q3', 9, 38),
  (260928, '2026-09-28', 2026, 'Q3', 9, 40), (261007, '2026-10-07', 2026, 'Q4', 10, 41),
  (261016, '2026-10-16', 2026, 'Q4', 10, 42), (261028, '2026-10-28', 2026, 'Q4', 10, 44),
  (261107, '2026-11-07', 2026, 'Q4', 11, 45), (261116, '2026-11-16', 2026, 'Q4', 11, 47),
  (261128, '2026-11-28', 2026, 'Q4', 11, 48), (261207, '2026-12-07', 2026, 'Q4', 12, 50),
  (261216, '2026-12-16', 2026, 'Q4', 12, 51), (261228, '2026-12-28', 2026, 'Q4', 12, 53);

INSERT INTO product_group (product_group_id, group_name, department) VALUES
  (1, 'Jackets', 'Men''s Wear'), (2, 'Shirts', 'Men''s Wear'), (3, 'Dresses', 'Women''s Wear'),
  (4, 'Boots', 'Shoes'), (5, 'Sandals', 'Shoes'), (6, 'Rope & Tackle', 'Chandlery');

INSERT INTO product (product_id, product_name, brand, weight, product_group_id) VALUES
  (101, 'Pea Coat', 'Ankerwerk', 1850, 1), (102, 'Oilskin Jacket', 'Ankerwerk', 1420, 1),
  (103, 'Striped Shirt', 'Bretonne', 240, 2), (104, 'Linen Shirt', 'Ørsted & Søn', 210, 2),
  (105, 'Summer Dress', 'Bretonne', 310, 3), (106, 'Wrap Dress', 'Marée', 380, 3),
  (107, 'Deck Boot', 'Ankerwerk', 1100, 4), (108, 'Sea Boot', 'Ørsted & Søn', 1300, 4),
  (109, 'Beach Sandal', 'Marée', 420, 5), (110, 'Mooring Rope', 'Knot 7', 5200, 6),
  (111, 'Shackle', 'Knot 7', 160, 6), (112, 'Brass "Bell"', 'Knot 7', 900, 6);

INSERT INTO region (region_id, region_name, country) VALUES
  (1, 'Coast', 'Germany'), (2, 'Inland', 'Germany'), (3, 'Jutland', 'Denmark'),
  (4, 'Bretagne', 'France');

INSERT INTO store (store_id, store_name, manager, floor_area, region_id) VALUES
  (11, 'Kiel Harbour', 'A. Petersen', 420, 1), (12, 'Rostock', 'M. Lange', 310, 1),
  (13, 'Kassel', 'J. Roth', 180, 2), (14, 'Aarhus', 'S. Holm', 260, 3),
  (15, 'Skagen', 'S. Holm', 90, 3), (16, 'Saint-Malo', 'É. Le Goff', 205, 4);

INSERT INTO customer
  (customer_id, customer_name, city, country, loyalty_card, household_size) VALUES
  (1, 'Brandt', 'Kiel', 'Germany', 'gold', 2), (2, 'Öztürk', 'Kiel', 'Germany', 'none', 4),
  (3, 'Fischer', 'Rostock', 'Germany', 'silver', 1), (4, 'Albers', 'Kassel', 'Germany', 'none', 3),
  (5, 'Jensen', 'Aarhus', 'Denmark', 'gold', 4), (6, 'Møller', 'Skagen', 'Denmark', 'none', 2),
  (7, 'Nielsen', 'Aarhus', 'Denmark', 'silver', 5),
  (8, 'Kerouac', 'Saint-Malo', 'France', 'gold', 2), (9, 'Le Bihan', 'Brest', 'France', 'none', 3),
  (10, 'O''Connor', 'Cork', 'Ireland', 'silver', 6);

INSERT INTO promotion (promotion_id, promotion_name, medium) VALUES
  (0, 'No promotion', 'none'), (1, 'Spring leaflet', 'print'), (2, 'Harbour festival', 'poster'),
  (3, 'Newsletter', 'e-mail'), (4, 'Winter sale', 'print');

INSERT INTO warehouse (warehouse_id, warehouse_name, country) VALUES
  (1, 'Kiel East', 'Germany'), (2, 'Kassel Hub', 'Germany'), (3, 'Aarhus Dock', 'Denmark');

INSERT INTO supplier (supplier_id, supplier_name) VALUES
  (1, 'Nordic Textiles'), (2, 'Knot 7 Works');

-- The last receipts of 2025 were booked in the table of 2026 first, and stand in both.
INSERT INTO sales
  (sale_id, day_id, store_id, product_id, customer_id, promotion_id, payment_method, quantity,
   list_amount, amount, cost) VALUES
  (9000, 251228, 16, 109, 3, 2, 'voucher', 5, 195.00, 175.45, 118.95),
  (9001, 251228, 12, 112, 6, 3, 'cash', 5, 295.00, 280.25, 141.60),
  (9002, 251228, 14, 107, 4, 1, 'voucher', 2, 230.00, 218.50, 126.50),
  (20000, 260107, 13, 104, 7, 0, 'card', 1, 69.00, 69.00, 35.88),
  (20001, 260107, 12, 103, 10, 3, 'voucher', 1, 45.00, 42.75, 24.75),
  (20002, 260116, 14, 101, 2, 4, 'cash', 3, 720.00, 576.00, 374.40),
  (20003, 260116, 12, 101, 8, 0, 'card', 2, 480.00, 480.00, 264.00),
  (20004, 260128, 13, 104, 5, 4, 'card', 1, 69.00, 55.19, 35.88),
  (20005, 260128, 11, 111, 9, 0, 'card', 1, 9.00, 9.00, 4.68),
  (20006, 260207, 11, 102, 3, 0, 'cash', 1, 189.00, 189.00, 90.72),
  (20007, 260207, 12, 101, 5, 0, 'card', 5, 1200.00, 1200.00, 624.00),
  (20008, 260216, 15, 104, 5, 1, 'card', 1, 69.00, 65.50, 35.88),
  (20009, 260216, 11, 112, 2, 4, 'card', 1, 59.00, 47.20, 28.32),
  (20010, 260228, 15, 111, 6, 0, 'card', 1, 9.00, 9.00, 4.32),
  (20011, 260228, 14, 104, 8, 3, 'card', 1, 69.00, 65.55, 42.09),
  (20012, 260307, 13, 106, 1, 2, 'voucher', 3, 387.00, 348.30, 212.85),
  (20013, 260307, 16, 101, 8, 4, 'card', 5, 1200.00, 959.90, 576.00),
  (20014, 260316, 16, 108, 5, 0, 'cash', 3, 447.00, 447.00, 272.67),
  (20015, 260316, 11, 103, 1, 0, 'voucher', 1, 45.00, 45.00, 23.40),
  (20016, 260328, 16, 101, 9, 2, 'cash', 3, 720.00, 648.00, 345.60),
  (20017, 260328, 14, 104, 1, 1, 'card', 5, 345.00, 327.75, 165.60),
  (20018, 260407, 12, 107, 1, 4, 'cash', 3, 345.00, 275.99, 189.75),
  (20019, 260407, 14, 107, 2, 0, 'card', 1, 115.00, 115.00, 70.15),
  (20020, 260416, 12, 105, 8, 2, 'voucher', 2, 198.00, 178.10, 120.78),
  (20021, 260416, 12, 103, 3, 0, 'card', 2, 90.00, 90.00, 43.20),
  (20022, 260428, 11, 101, 9, 1, 'card', 3, 720.00, 683.99, 345.60),
  (20023, 260428, 16, 112, 9, 2, 'voucher', 3, 177.00, 159.25, 107.97),
  (20024, 260507, 15, 107, 6, 0, 'card', 1, 115.00, 115.00, 63.25),
  (20025, 260507, 15, 112, 8, 1, 'card', 5, 295.00, 280.20, 179.95),
  (20026, 260516, 15, 105, 4, 0, 'voucher', 5, 495.00, 495.00, 257.40),
  (20027, 260516, 14, 101, 7, 2, 'cash', 3, 720.00, 647.90, 345.60),
  (20028, 260528, 11, 107, 9, 0, 'voucher', 2, 230.00, 230.00, 140.30),
  (20029, 260528, 16, 112, 6, 1, 'card', 1, 59.00, 56.04, 32.45),
  (20030, 260607, 11, 103, 5, 0, 'voucher', 1, 45.00, 45.00, 24.75),
  (20031, 260607, 15, 109, 2, 2, 'voucher', 1, 39.00, 35.00, 20.28),
  (20032, 260616, 16, 101, 10, 4, 'card', 1, 240.00, 191.99, 115.20),
  (20033, 260616, 13, 107, 2, 2, 'cash', 3, 345.00, 310.49, 179.40),
  (20034, 260628, 13, 101, 4, 0, 'cash', 2, 480.00, 480.00, 230.40),
  (20035, 260707, 14, 106, 10, 3, 'card', 2, 258.00, 245.10, 157.38),
  (20036, 260707, 14, 101, 5, 2, 'cash', 5, 1200.00, 1079.99, 732.00),
  (20037, 260716, 14, 107, 5, 2, 'cash', 2, 230.00, 206.95, 140.30),
  (20038, 260716, 14, 107, 4, 0, 'cash', 1, 115.00, 115.00, 59.80),
  (20039, 260728, 14, 105, 4, 3, 'card', 1, 99.00, 93.95, 47.52),
  (20040, 260728, 11, 106, 3, 0, 'card', 1, 129.00, 129.00, 61.92),
  (20041, 260807, 14, 102, 4, 4, 'voucher', 5, 945.00, 756.00, 519.75),
  (20042, 260807, 13, 105, 4, 0, 'cash', 1, 99.00, 99.00, 51.48),
  (20043, 260816, 15, 108, 5, 0, 'cash', 2, 298.00, 298.00, 154.96),
  (20044, 260816, 13, 103, 9, 4, 'card', 1, 45.00, 36.00, 23.40),
  (20045, 260828, 11, 105, 8, 0, 'voucher', 1, 99.00, 99.00, 54.45),
  (20046, 260828, 11, 105, 5, 1, 'voucher', 1, 99.00, 94.05, 60.39),
  (20047, 260907, 16, 108, 6, 0, 'card', 2, 298.00, 298.00, 181.78),
  (20048, 260907, 12, 112, 9, 2, 'card', 2, 118.00, 106.15, 61.36),
  (20049, 260916, 14, 112, 3, 1, 'card', 2, 118.00, 112.10, 56.64),
  (20050, 260916, 15, 108, 3, 0, 'voucher', 1, 149.00, 149.00, 90.89),
  (20051, 260928, 14, 103, 3, 0, 'voucher', 1, 45.00, 45.00, 21.60),
  (20052, 260928, 14, 111, 2, 3, 'card', 5, 45.00, 42.74, 23.40),
  (20053, 261007, 16, 107, 9, 0, 'card', 5, 575.00, 575.00, 350.75),
  (20054, 261007, 11, 106, 6, 4, 'card', 1, 129.00, 103.15, 70.95),
  (20055, 261016, 14, 108, 5, 4, 'card', 2, 298.00, 238.40, 163.90),
  (20056, 261016, 14, 109, 7, 2, 'card', 1, 39.00, 35.10, 23.79),
  (20057, 261028, 13, 101, 3, 0, 'card', 1, 240.00, 240.00, 115.20),
  (20058, 261028, 13, 106, 8, 1, 'card', 5, 645.00, 612.65, 393.45),
  (20059, 261107, 11, 106, 9, 0, 'card', 1, 129.00, 129.00, 61.92),
  (20060, 261107, 14, 106, 5, 0, 'cash', 1, 129.00, 129.00, 61.92),
  (20061, 261116, 16, 112, 2, 0, 'voucher', 1, 59.00, 59.00, 35.99),
  (20062, 261116, 11, 103, 10, 0, 'voucher', 3, 135.00, 135.00, 70.20),
  (20063, 261128, 12, 106, 3, 0, 'card', 2, 258.00, 258.00, 123.84),
  (20064, 261128, 12, 112, 2, 2, 'voucher', 2, 118.00, 106.20, 56.64),
  (20065, 261207, 16, 109, 2, 2, 'voucher', 2, 78.00, 70.15, 37.44),
  (20066, 261207, 13, 112, 3, 0, 'card', 2, 118.00, 118.00, 56.64),
  (20067, 261216, 11, 109, 10, 3, 'voucher', 1, 39.00, 37.04, 18.72),
  (20068, 261216, 12, 111, 7, 3, 'cash', 2, 18.00, 17.09, 9.36),
  (20069, 261228, 11, 103, 2, 3, 'card', 2, 90.00, 85.45, 49.50);

INSERT INTO sales_2025
  (sale_id, day_id, store_id, product_id, customer_id, promotion_id, payment_method, quantity,
   list_amount, amount, cost) VALUES
  (10000, 250107, 14, 103, 8, 0, 'card', 3, 135.00, 135.00, 70.20),
  (10001, 250107, 11, 108, 3, 1, 'voucher', 3, 447.00, 424.64, 245.85),
  (10002, 250116, 14, 110, 5, 0, 'cash', 2, 170.00, 170.00, 103.70),
  (10003, 250128, 13, 101, 8, 0, 'cash', 1, 240.00, 240.00, 146.40),
  (10004, 250207, 14, 105, 1, 0, 'card', 2, 198.00, 198.00, 120.78),
  (10005, 250216, 15, 105, 1, 0, 'card', 1, 99.00, 99.00, 60.39),
  (10006, 250216, 11, 104, 2, 1, 'card', 5, 345.00, 327.65, 179.40),
  (10007, 250228, 14, 106, 9, 1, 'card', 1, 129.00, 122.55, 78.69),
  (10008, 250307, 12, 101, 4, 1, 'card', 1, 240.00, 228.00, 124.80),
  (10009, 250316, 13, 108, 5, 2, 'cash', 2, 298.00, 268.20, 143.04),
  (10010, 250328, 11, 104, 8, 0, 'voucher', 5, 345.00, 345.00, 210.45),
  (10011, 250328, 14, 111, 5, 0, 'card', 2, 18.00, 18.00, 9.36),
  (10012, 250407, 11, 103, 7, 2, 'cash', 2, 90.00, 80.90, 43.20),
  (10013, 250416, 15, 102, 10, 4, 'cash', 5, 945.00, 755.99, 491.40),
  (10014, 250428, 14, 104, 3, 4, 'cash', 1, 69.00, 55.20, 42.09),
  (10015, 250507, 15, 106, 1, 1, 'cash', 3, 387.00, 367.65, 236.07),
  (10016, 250507, 12, 105, 3, 1, 'card', 1, 99.00, 94.04, 54.45),
  (10017, 250516, 13, 102, 9, 3, 'card', 1, 189.00, 179.55, 98.28),
  (10018, 250528, 11, 101, 8, 3, 'cash', 1, 240.00, 227.95, 115.20),
  (10019, 250607, 11, 112, 8, 0, 'cash', 1, 59.00, 59.00, 32.45),
  (10020, 250616, 12, 102, 1, 4, 'card', 5, 945.00, 755.90, 576.45),
  (10021, 250616, 11, 104, 4, 0, 'card', 1, 69.00, 69.00, 42.09),
  (10022, 250628, 11, 103, 10, 3, 'card', 2, 90.00, 85.40, 49.50),
  (10023, 250707, 11, 112, 6, 4, 'voucher', 2, 118.00, 94.39, 56.64),
  (10024, 250716, 11, 103, 7, 0, 'card', 3, 135.00, 135.00, 64.80),
  (10025, 250728, 14, 105, 2, 1, 'card', 2, 198.00, 188.10, 108.90),
  (10026, 250728, 15, 108, 8, 4, 'cash', 1, 149.00, 119.20, 77.48),
  (10027, 250807, 15, 106, 5, 0, 'card', 1, 129.00, 129.00, 78.69),
  (10028, 250816, 13, 108, 3, 3, 'card', 1, 149.00, 141.45, 71.52),
  (10029, 250828, 14, 108, 7, 0, 'card', 1, 149.00, 149.00, 90.89),
  (10030, 250907, 11, 104, 6, 2, 'cash', 2, 138.00, 124.15, 75.90),
  (10031, 250907, 11, 107, 4, 2, 'cash', 2, 230.00, 206.99, 110.40),
  (10032, 250916, 14, 103, 7, 4, 'cash', 1, 45.00, 35.95, 24.75),
  (10033, 250928, 11, 112, 10, 3, 'card', 1, 59.00, 56.00, 32.45),
  (10034, 251007, 14, 110, 1, 2, 'card', 1, 85.00, 76.45, 46.75),
  (10035, 251016, 11, 101, 5, 0, 'card', 1, 240.00, 240.00, 124.80),
  (10036, 251016, 14, 105, 1, 4, 'card', 2, 198.00, 158.40, 108.90),
  (10037, 251028, 15, 112, 10, 0, 'cash', 3, 177.00, 177.00, 97.35),
  (10038, 251107, 11, 108, 4, 4, 'cash', 2, 298.00, 238.39, 143.04),
  (10039, 251116, 14, 101, 6, 0, 'card', 1, 240.00, 240.00, 124.80),
  (10040, 251128, 11, 101, 7, 0, 'cash', 2, 480.00, 480.00, 230.40),
  (10041, 251128, 15, 110, 2, 0, 'cash', 1, 85.00, 85.00, 40.80),
  (10042, 251207, 11, 112, 4, 3, 'voucher', 2, 118.00, 112.10, 56.64),
  (10043, 251216, 14, 107, 6, 0, 'cash', 2, 230.00, 230.00, 119.60),
  (10044, 251228, 12, 111, 9, 0, 'card', 1, 9.00, 9.00, 4.68),
  (9000, 251228, 16, 109, 3, 2, 'voucher', 5, 195.00, 175.45, 118.95),
  (9001, 251228, 12, 112, 6, 3, 'cash', 5, 295.00, 280.25, 141.60),
  (9002, 251228, 14, 107, 4, 1, 'voucher', 2, 230.00, 218.50, 126.50);

INSERT INTO stock
  (stock_id, day_id, product_id, warehouse_id, supplier_id, stock_status, units_on_hand,
   units_ordered, stock_value) VALUES
  (1, 251228, 101, 2, 1, 'to clear', 13, 2, 1560.00),
  (2, 251228, 101, 3, 1, 'fresh', 26, 5, 3120.00), (3, 251228, 103, 1, 1, 'fresh', 14, 1, 315.00),
  (4, 251228, 103, 3, 1, 'slow', 40, 7, 900.00), (5, 251228, 107, 2, 1, 'fresh', 55, 8, 3162.50),
  (6, 251228, 107, 3, 1, 'slow', 8, 2, 460.00), (7, 251228, 110, 2, 2, 'fresh', 16, 2, 680.00),
  (8, 251228, 110, 3, 2, 'fresh', 29, 5, 1232.50), (9, 251228, 112, 1, 2, 'fresh', 17, 1, 501.50),
  (10, 251228, 112, 3, 2, 'to clear', 43, 7, 1268.50),
  (11, 260228, 101, 1, 1, 'fresh', 11, 7, 1320.00),
  (12, 260228, 101, 3, 1, 'slow', 36, 4, 4320.00), (13, 260228, 103, 1, 1, 'slow', 24, 0, 540.00),
  (14, 260228, 103, 2, 1, 'to clear', 37, 3, 832.50),
  (15, 260228, 107, 1, 1, 'slow', 52, 4, 2990.00),
  (16, 260228, 107, 3, 1, 'fresh', 18, 1, 1035.00),
  (17, 260228, 110, 1, 2, 'fresh', 13, 7, 552.50),
  (18, 260228, 110, 3, 2, 'to clear', 39, 4, 1657.50),
  (19, 260228, 112, 1, 2, 'to clear', 27, 0, 796.50),
  (20, 260228, 112, 2, 2, 'fresh', 40, 3, 1180.00),
  (21, 260428, 101, 1, 1, 'slow', 20, 0, 2400.00),
  (22, 260428, 101, 2, 1, 'to clear', 34, 3, 4080.00),
  (23, 260428, 103, 2, 1, 'fresh', 47, 5, 1057.50), (24, 260428, 103, 3, 1, 'slow', 0, 8, 0.00),
  (25, 260428, 107, 1, 1, 'fresh', 2, 6, 115.00), (26, 260428, 107, 2, 1, 'fresh', 15, 0, 862.50),
  (27, 260428, 110, 1, 2, 'to clear', 23, 0, 977.50),
  (28, 260428, 110, 2, 2, 'fresh', 36, 3, 1530.00),
  (29, 260428, 112, 2, 2, 'slow', 50, 5, 1475.00),
  (30, 260428, 112, 3, 2, 'to clear', 3, 8, 88.50),
  (31, 260628, 101, 2, 1, 'fresh', 43, 5, 5160.00),
  (32, 260628, 101, 3, 1, 'slow', 56, 8, 6720.00), (33, 260628, 103, 1, 1, 'slow', 45, 4, 1012.50),
  (34, 260628, 103, 3, 1, 'fresh', 10, 1, 225.00),
  (35, 260628, 107, 2, 1, 'to clear', 25, 2, 1437.50),
  (36, 260628, 107, 3, 1, 'fresh', 38, 5, 2185.00),
  (37, 260628, 110, 2, 2, 'slow', 46, 5, 1955.00),
  (38, 260628, 110, 3, 2, 'to clear', 59, 8, 2507.50),
  (39, 260628, 112, 1, 2, 'to clear', 47, 4, 1386.50),
  (40, 260628, 112, 3, 2, 'fresh', 13, 1, 383.50), (41, 260828, 101, 1, 1, 'slow', 40, 4, 4800.00),
  (42, 260828, 101, 3, 1, 'fresh', 6, 1, 720.00), (43, 260828, 103, 1, 1, 'fresh', 54, 6, 1215.00),
  (44, 260828, 103, 2, 1, 'fresh', 8, 0, 180.00), (45, 260828, 107, 1, 1, 'fresh', 22, 1, 1265.00),
  (46, 260828, 107, 3, 1, 'slow', 48, 7, 2760.00),
  (47, 260828, 110, 1, 2, 'to clear', 43, 4, 1827.50),
  (48, 260828, 110, 3, 2, 'fresh', 9, 1, 382.50), (49, 260828, 112, 1, 2, 'fresh', 57, 6, 1681.50),
  (50, 260828, 112, 2, 2, 'slow', 10, 0, 295.00), (51, 261028, 101, 1, 1, 'fresh', 50, 6, 6000.00),
  (52, 261028, 101, 2, 1, 'fresh', 3, 0, 360.00),
  (53, 261028, 103, 2, 1, 'to clear', 17, 2, 382.50),
  (54, 261028, 103, 3, 1, 'fresh', 30, 5, 675.00), (55, 261028, 107, 1, 1, 'slow', 33, 3, 1897.50),
  (56, 261028, 107, 2, 1, 'to clear', 45, 6, 2587.50),
  (57, 261028, 110, 1, 2, 'fresh', 53, 6, 2252.50), (58, 261028, 110, 2, 2, 'slow', 6, 0, 255.00),
  (59, 261028, 112, 2, 2, 'fresh', 20, 2, 590.00), (60, 261028, 112, 3, 2, 'fresh', 33, 5, 973.50),
  (61, 261228, 101, 2, 1, 'to clear', 13, 2, 1560.00),
  (62, 261228, 101, 3, 1, 'fresh', 26, 5, 3120.00),
  (63, 261228, 103, 1, 1, 'fresh', 14, 1, 315.00), (64, 261228, 103, 3, 1, 'slow', 40, 7, 900.00),
  (65, 261228, 107, 2, 1, 'fresh', 55, 8, 3162.50), (66, 261228, 107, 3, 1, 'slow', 9, 2, 517.50),
  (67, 261228, 110, 2, 2, 'fresh', 16, 2, 680.00),
  (68, 261228, 110, 3, 2, 'fresh', 29, 5, 1232.50),
  (69, 261228, 112, 1, 2, 'fresh', 17, 1, 501.50),
  (70, 261228, 112, 3, 2, 'to clear', 43, 7, 1268.50);

INSERT INTO department (department_id, department_name) VALUES
  (1, 'Shops'), (2, 'Warehouse'), (3, 'Head office');

INSERT INTO employee (employee_id, employee_name, job_title, department_id) VALUES
  (1, 'A. Petersen', 'Store manager', 1), (2, 'S. Holm', 'Store manager', 1),
  (3, 'K. Vogt', 'Sales assistant', 1), (4, 'B. Lund', 'Forklift driver', 2),
  (5, 'D. O''Hara', 'Picker', 2), (6, 'I. Weiß', 'Accountant', 3);

INSERT INTO pay_period (pay_period_id, year, month) VALUES
  (202510, 2025, 10), (202511, 2025, 11), (202512, 2025, 12), (202601, 2026, 1), (202602, 2026, 2),
  (202603, 2026, 3);

INSERT INTO payroll
  (payroll_id, employee_id, pay_period_id, hours, gross_pay, overtime_pay) VALUES
  (1, 1, 202510, 157.50, 4882.50, 0.00), (2, 2, 202510, 174.00, 5440.50, 46.50),
  (3, 3, 202510, 146.50, 2783.50, 0.00), (4, 4, 202510, 163.00, 3423.00, 0.00),
  (5, 5, 202510, 180.50, 3305.25, 56.25), (6, 6, 202510, 152.00, 5168.00, 0.00),
  (7, 1, 202511, 166.00, 5146.00, 0.00), (8, 2, 202511, 183.50, 5808.62, 120.12),
  (9, 3, 202511, 155.00, 2945.00, 0.00), (10, 4, 202511, 172.50, 3646.12, 23.62),
  (11, 5, 202511, 144.00, 2592.00, 0.00), (12, 6, 202511, 161.50, 5491.00, 0.00),
  (13, 1, 202512, 175.50, 5498.62, 58.12), (14, 2, 202512, 147.00, 4557.00, 0.00),
  (15, 3, 202512, 164.50, 3125.50, 0.00), (16, 4, 202512, 181.00, 3869.25, 68.25),
  (17, 5, 202512, 153.50, 2763.00, 0.00), (18, 6, 202512, 170.00, 5797.00, 17.00),
  (19, 1, 202601, 166.00, 5146.00, 0.00), (20, 2, 202601, 183.50, 5808.62, 120.12),
  (21, 3, 202601, 155.00, 2945.00, 0.00), (22, 4, 202601, 172.50, 3646.12, 23.62),
  (23, 5, 202601, 144.00, 2592.00, 0.00), (24, 6, 202601, 161.50, 5491.00, 0.00),
  (25, 1, 202602, 175.50, 5498.62, 58.12), (26, 2, 202602, 147.00, 4557.00, 0.00),
  (27, 3, 202602, 164.50, 3125.50, 0.00), (28, 4, 202602, 181.00, 3869.25, 68.25),
  (29, 5, 202602, 153.50, 2763.00, 0.00), (30, 6, 202602, 170.00, 5797.00, 17.00),
  (31, 1, 202603, 184.00, 5828.00, 124.00), (32, 2, 202603, 156.50, 4851.50, 0.00),
  (33, 3, 202603, 173.00, 3310.75, 23.75), (34, 4, 202603, 145.50, 3055.50, 0.00),
  (35, 5, 202603, 162.00, 2916.00, 0.00), (36, 6, 202603, 179.50, 6200.75, 97.75);
