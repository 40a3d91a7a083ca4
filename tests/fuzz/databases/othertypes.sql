-- The tool's tables, with values of unexpected types and ranges.
CREATE TABLE device(id integer primary key autoincrement, model text, serial text, sw_version text, hw_version text);
CREATE TABLE measurement_type(id integer primary key autoincrement, name text);
CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, meas_state integer, device_id integer);
CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, measurement_type_id integer, value real);
INSERT INTO device VALUES (-1, NULL, NULL, x'00ff', 1.5), (4294967297, x'', 'S-1', 3, NULL),
  (1, 'a' || char(0) || 'b', char(0), char(55296), ',');
INSERT INTO measurement_type VALUES (0, NULL), (-5, x'c328'), (1, 'T'), (2, 'T');
INSERT INTO measurement_metadata VALUES (1, 'noon', x'01', 1), (2, 9223372036854775807, -1, 1),
  (3, -9223372036854775808, 5000000000, 1), (4, 1510568430000, NULL, 4294967297), (5, 1.5e12, 2, 'S'),
  (4294967298, 1510568430000, 1, 1);
INSERT INTO measurement_value VALUES (1, 1, 1, 'warm'), (2, 2, 0, x'40'), (3, 4294967298, 1, 9e999),
  (4, 2, 2, NULL), (5, 77, 1, 1.0);
