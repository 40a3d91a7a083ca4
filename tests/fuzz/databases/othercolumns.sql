-- Another program's database: the same table names, with other columns, keys and constraints.
CREATE TABLE device(serial text primary key, id blob, model text, sw_version text, hw_version text) WITHOUT ROWID;
CREATE TABLE measurement_type(name text unique not null, id integer default 7);
CREATE TABLE measurement_metadata(id text, timestamp text, meas_state text, device_id text);
CREATE TABLE measurement_value(id integer primary key, measurement_id text, measurement_type_id text, value text check (value <> '21.5'));
INSERT INTO device VALUES ('S-1', x'31', 'm', 's', 'h'), ('S-2', 2, 'm', 's', 'h');
INSERT INTO measurement_type VALUES ('T', 1), ('O3', NULL);
INSERT INTO measurement_metadata VALUES ('1', '1510568430000', '1', '1'), (NULL, '0', '0', '1');
INSERT INTO measurement_value VALUES (1, '1', '1', '3.5');
