#pragma once

namespace importkcd::testing {

/// Views over the warehouse of the sales example, for PostgreSQL and MariaDB: each fact with
/// everything that is known about it. The figures that cubes are compared with are selected from
/// them.
inline constexpr const char* sales_views = R"(
CREATE VIEW every_sale AS
  SELECT s.*, c.the_date, c.year, c.quarter, c.month, c.week,
         p.product_name, p.brand, p.weight, g.product_group_id, g.group_name, g.department,
         t.store_name, t.manager, t.floor_area, r.region_id, r.region_name,
         r.country AS store_country,
         k.customer_name, k.city, k.country AS customer_country, k.loyalty_card, k.household_size,
         m.promotion_name, m.medium
  FROM (SELECT * FROM sales WHERE day_id > 260000
        UNION ALL SELECT * FROM sales_2025 WHERE day_id < 260000) s
  JOIN calendar c ON c.day_id = s.day_id
  JOIN product p ON p.product_id = s.product_id
  JOIN product_group g ON g.product_group_id = p.product_group_id
  JOIN store t ON t.store_id = s.store_id
  JOIN region r ON r.region_id = t.region_id
  JOIN customer k ON k.customer_id = s.customer_id
  JOIN promotion m ON m.promotion_id = s.promotion_id;

CREATE VIEW every_count AS
  SELECT s.*, c.year, c.quarter, c.month, p.product_name, g.group_name, g.department,
         w.warehouse_name, w.country
  FROM stock s
  JOIN calendar c ON c.day_id = s.day_id
  JOIN product p ON p.product_id = s.product_id
  JOIN product_group g ON g.product_group_id = p.product_group_id
  JOIN warehouse w ON w.warehouse_id = s.warehouse_id
  WHERE c.year = 2026;

CREATE VIEW every_payment AS
  SELECT y.*, e.employee_name, e.job_title, d.department_name, q.year, q.month
  FROM payroll y
  JOIN employee e ON e.employee_id = y.employee_id
  JOIN department d ON d.department_id = e.department_id
  JOIN pay_period q ON q.pay_period_id = y.pay_period_id;
)";

}  // namespace importkcd::testing
