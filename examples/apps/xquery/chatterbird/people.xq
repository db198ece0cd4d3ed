xquery version "3.1";

(: The app's address book. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;

<results kind="contact" source="{ $app-title }">{
  for $person in ev:records($evidence, "people_db", "person")
  let $name := (ev:field($person, "nickname"), ev:field($person, "name"))[1]
  order by $name, $person/@id
  return
    <contact>{
      ev:attribute("id", $person/@id),
      ev:origin($person),
      ev:element("name", $name),
      ev:element("phone", ev:field($person, "address")),
      ev:element("blocked", ev:field($person, "blocked")),
      for $avatar in $person/field[@name = "avatar"]//record[@kind = "medium"]
      return ev:element("picture", ev:field($avatar, "path"))
    }</contact>
}</results>
